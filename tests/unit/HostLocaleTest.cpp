#include "LauncherTest.h"

#include <locale>

using testing::ElementsAre;

// Whatever locale the host has made the global one, records and log lines keep their form.

namespace {

// Writes 1234567 as 1.234.567 and truth as words.
struct Grouping : std::numpunct<char> {
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\1"; }
};

class HostLocale : public test::LauncherTest {
protected:
  HostLocale() : before(std::locale::global(std::locale(std::locale(), new Grouping))) {
    emptyLog(); // a stream takes the locale of the moment
  }
  ~HostLocale() override { std::locale::global(before); }

private:
  const std::locale before;
};

} // namespace

TEST_F(HostLocale, ChangesNoRecord) {
  const std::filesystem::path copy = makeCopy("copy", "45.11.0.1").launches("1234567");
  launcher.filterInviableDirectories({copy});
  launcher.updateLaunchInfo(copy);
  const std::string path = copy.string();
  const std::string corruptFile = (launcherDirectory() / "corrupt.dat").string();
  EXPECT_THAT(
      messages(),
      ElementsAre(
          "VDI supports CheckCorrupt: " + path,
          "VDI Directory marked as corrupt - Launch count: 1234567, Directory: " + path,
          "VDI Skipping corrupt directory: " + path,
          "VDI Wrote 1 corrupt versions to " + corruptFile,
          "VDI Launch count updated to: 1234568 for directory: " + path));
  EXPECT_EQ(test::readFile(copy / "launchCount.dat"), "1234568");
  const std::string time = test::readFile(copy / "launch.dat");
  EXPECT_EQ(std::to_string(std::stoll(time)), time);
}

TEST_F(HostLocale, ChangesNoCount) {
  const std::filesystem::path copy = makeCopy("copy", "45.9").launches("1234567");
  launcher.filterInviableDirectories({copy});
  EXPECT_EQ(
      messages().back(), "safe start Directory: " + copy.string() + ", Launch Count: 1234567");
  std::vector<std::string> versions;
  for (int i = 0; i < 1000; ++i)
    versions.push_back(std::to_string(i));
  launcher.writeCorruptVersions(versions);
  EXPECT_THAT(messages().back(), testing::StartsWith("VDI Wrote 1000 corrupt versions to "));
}

TEST_F(HostLocale, ChangesNoReading) {
  test::writeFile(home.path() / "launchCount.dat", "1.2.3");
  EXPECT_EQ(launcher.getLaunchCount(home.path()), 1U);
}

TEST_F(HostLocale, ChangesNoTimeStamp) {
  // A stamp below a tenth of a second has one digit or two to group at the least.
  for (int i = 0; i < 100; ++i) {
    std::string stamp;
    Logger::addTime(stamp);
    EXPECT_EQ(stamp.size(), test::TIME_STAMP_LENGTH) << stamp;
    EXPECT_EQ(stamp.find('.'), 19U) << stamp;
  }
}

TEST_F(HostLocale, ChangesNoVersion) {
  EXPECT_TRUE(ThinClientLauncherBase::isGreaterVersion("45.32950", "45.32949", 2));
  EXPECT_FALSE(ThinClientLauncherBase::isGreaterVersion("1,000", "2", 1));
}
