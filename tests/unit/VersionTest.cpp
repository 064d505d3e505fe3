#include "ThinClientLauncherBase.h"

#include <gmock/gmock.h>

TEST(Version, ComparesComponentsAsNumbers) {
  EXPECT_TRUE(ThinClientLauncherBase::isGreaterVersion("45.10.0.0", "45.9.0.0", 4));
  EXPECT_FALSE(ThinClientLauncherBase::isGreaterVersion("45.9.0.0", "45.10.0.0", 4));
}
