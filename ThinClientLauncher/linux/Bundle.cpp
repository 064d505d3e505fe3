#include "../Platform.h"
#include "PropertyList.h"

namespace fs = std::filesystem;

namespace Platform {

static PropertyList::Entry entryOf(const fs::path& bundle, const char* key) {
  return PropertyList::read(bundle.native() + "/Contents/Info.plist", key);
}

std::string bundleVersion(const fs::path& bundle) {
  return entryOf(bundle, "CFBundleShortVersionString").text;
}

ListProblem versionProblem(const fs::path& bundle) {
  return entryOf(bundle, "CFBundleShortVersionString").problem;
}

fs::path executableName(const fs::path& bundle) {
  const std::string name = entryOf(bundle, "CFBundleExecutable").text;
  return name.empty() ? bundle.stem() : fs::path(name);
}

} // namespace Platform
