#include "Session.h"

bool isSessionReady() {
  return true;
}
