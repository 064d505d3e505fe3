// launcher-inspect over homes in which every name, list, record and log is made of arbitrary bytes:
// each report keeps its width, masks the names, holds nothing that could steer a terminal, and
// costs little.

#include "Facts.h"
#include "FuzzCheck.h"
#include "Home.h"
#include "JsonReport.h"
#include "Report.h"
#include "TextReport.h"

#include <glib.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <string_view>
#include <vector>

namespace fs = std::filesystem;

using namespace LauncherInspect;

namespace {

// The parts of an input: client version, width, both logs, then for each copy its folder's name,
// launch count, launch time in seconds since 1970, and property list.
class Parts {
public:
  explicit Parts(std::string_view input) : rest(input) {}

  bool areUsedUp() const { return rest.empty(); }

  std::string next() {
    constexpr char SEPARATOR = '\x1E';
    const auto end = std::min(rest.find(SEPARATOR), rest.size());
    const std::string part(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return part;
  }

private:
  std::string_view rest;
};

std::string asFileName(std::string name) {
  std::replace_if(
      name.begin(), name.end(), [](char c) { return c == '/' || c == '\0'; }, '_');
  return name == "." || name == ".." ? "dots" : name.substr(0, 255);
}

void layOut(Parts& parts, const test::ScopedHome& home) {
  test::writeFile(home.launchLog(), parts.next());
  test::writeFile(home.loadLog(), parts.next());
  while (!parts.areUsedUp()) {
    const fs::path dir = home.launcherDirectory() / asFileName(parts.next());
    test::writeFile(dir / "launchCount.dat", parts.next());
    test::writeFile(dir / "launch.dat", "0");
    test::setModificationTime(dir / "launch.dat", std::strtoll(parts.next().c_str(), nullptr, 10));
    test::writeFile(test::propertyListIn(dir), parts.next());
  }
}

bool isHarmless(gunichar character) {
  static const std::set<GUnicodeType> HARMFUL{
      G_UNICODE_CONTROL,
      G_UNICODE_FORMAT,
      G_UNICODE_SURROGATE,
      G_UNICODE_LINE_SEPARATOR,
      G_UNICODE_PARAGRAPH_SEPARATOR};
  return HARMFUL.count(g_unichar_type(character)) == 0;
}

bool isAscii(const std::string& text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= 0; });
}

const std::vector<std::string> MASKED{"alice", "bob"};

void checkMask(const std::string& text) {
  for (const char* name : {"alice", "bob", "zoe"})
    FUZZ_CHECK(text.find(name) == text.npos);
}

void checkText(const std::string& text, std::size_t width) {
  constexpr std::size_t NARROWEST = 40;
  checkMask(text);
  FUZZ_CHECK(g_utf8_validate_len(text.data(), text.size(), nullptr));
  for (const std::string& line : test::splitLines(text)) {
    for (const char* at = line.c_str(); *at != '\0'; at = g_utf8_next_char(at))
      FUZZ_CHECK(isHarmless(g_utf8_get_char(at)));
    const bool isWhole = // for pasting
        line.rfind("  journalctl ", 0) == 0 || line.find_first_not_of(' ') == line.find("'/");
    FUZZ_CHECK(!isAscii(line) || isWhole || width < NARROWEST || line.size() <= width);
  }
}

void checkJson(const std::string& json) {
  checkMask(json);
  FUZZ_CHECK(isAscii(json) && json.find('\x7F') == std::string::npos);
  FUZZ_CHECK(Report::parse(json).is_object());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const test::ScopedHome home;
  Parts parts({reinterpret_cast<const char*>(data), size});
  const std::string clientVersion = parts.next();
  const std::string widths = parts.next();
  const std::size_t width = 1 + static_cast<unsigned char>(widths[0]) % 200;
  layOut(parts, home);

  // A run of the command finds the facts and makes one report.
  Facts facts = withinLimit([&] { return findFacts(clientVersion); });
  facts.places.homeOwner = "zoe";
  checkJson(withinLimit([&] { return toJson(makeReport(facts, MASKED, Paths::Absolute)); }));
  const Terminal terminal{width, false};
  checkText(withinLimit([&] { return toText(makeReport(facts, MASKED), terminal); }), width);
  checkText(withinLimit([&] { return toBriefText(makeReport(facts, MASKED), terminal); }), width);
  if (facts.decisions.candidates.empty())
    return 0;
  facts.explained = facts.decisions.candidates.size() - 1;
  checkText(withinLimit([&] { return toExplanation(makeReport(facts, MASKED), terminal); }), width);
  return 0;
}
