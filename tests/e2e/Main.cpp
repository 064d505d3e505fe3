#include "Enclosure.h"

#include <gtest/gtest.h>

#include <sys/prctl.h>
#include <vector>

int main(int argc, char** argv) {
  std::vector<char*> arguments(argv, argv + argc + 1); // before GoogleTest takes its own out
  testing::InitGoogleTest(&argc, argv);
  if (!testing::GTEST_FLAG(list_tests) && !test::Enclosure::isInside())
    return test::Enclosure::runInside(arguments.data());

  // Applications that the launcher starts are nobody's children: here they become the test's, which
  // waits for each of them.
  if (::prctl(PR_SET_CHILD_SUBREAPER, 1) != 0)
    return 1;
  return RUN_ALL_TESTS();
}
