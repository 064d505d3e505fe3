// Writing one line to the log, with any login name and any message.

#include "FuzzCheck.h"
#include "Home.h"
#include "Logger.h"

#include <algorithm>

namespace {

// The text with stars in the place of each name, found from left to right.
std::string masked(const std::string& text, const std::string& name) {
  std::string result;
  while (result.size() < text.size()) {
    const bool isName = text.compare(result.size(), name.size(), name) == 0;
    result += isName ? std::string(name.size(), '*') : text.substr(result.size(), 1);
  }
  return result;
}

std::string now() {
  std::string text;
  Logger::addTime(text);
  return text;
}

std::string logged(const std::filesystem::path& file, const std::string& message) {
  Logger::open(file, true);
  Logger::log(message);
  Logger::close();
  return test::readFile(file);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::size_t end = std::min(input.find('\n'), input.size());
  const std::string name = input.substr(0, end).c_str();
  if (name.empty()) // with which a line is never written
    return 0;
  const std::string message = input.substr(std::min(end + 1, input.size()));
  static const test::ScopedHome home;
  const test::ScopedEnvironment user("USER", name);

  std::string before, line;
  do {
    before = now();
    line = withinLimit([&] { return logged(home.launchLog(), message); });
  } while (now() != before);
  FUZZ_CHECK(line == masked((before + message + "\n").c_str(), name));
  return 0;
}
