// The smallest application to start: nothing of its own is measured.

int main(void) {
  return 0;
}
