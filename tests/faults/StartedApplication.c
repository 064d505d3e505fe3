// The application of the fault tests: leaves one byte per start in its user's home.

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

int main(void) {
  char path[4096];
  snprintf(path, sizeof path, "%s/starts", getenv("HOME"));
  const int file = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  return file >= 0 && write(file, "1", 1) == 1 ? 0 : 1;
}
