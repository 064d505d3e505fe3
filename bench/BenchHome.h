#pragma once

#include "Home.h"

// A home folder with a given number of copies, each complete and with records: the newest in the
// working folder, so that a launch changes nothing and can be repeated, all others in the launcher
// folder.
class BenchHome {
public:
  explicit BenchHome(int copies);

  std::filesystem::path path() const { return folder.path(); }
  std::filesystem::path workFolder() const { return path() / "work"; }

private:
  test::ScopedDirectory folder;
};
