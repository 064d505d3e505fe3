// A main library without the entry that the launcher looks up.

extern "C" int NoEntryPoint();

int NoEntryPoint() {
  return 1;
}
