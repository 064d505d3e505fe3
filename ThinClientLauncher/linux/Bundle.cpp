#include "../Platform.h"
#include "PropertyList.h"

namespace fs = std::filesystem;

namespace Platform {

static PropertyList::Entry entryOf(const fs::path& bundle, const char* key) {
  return PropertyList::read(bundle.native() + "/Contents/Info.plist", key);
}

std::string bundleText(const fs::path& bundle, const char* key) {
  return entryOf(bundle, key).text;
}

std::string bundleVersion(const fs::path& bundle) {
  return bundleText(bundle, "CFBundleShortVersionString");
}

ListProblem versionProblem(const fs::path& bundle) {
  return entryOf(bundle, "CFBundleShortVersionString").problem;
}

fs::path executableName(const fs::path& bundle) {
  const std::string name = bundleText(bundle, "CFBundleExecutable");
  return name.empty() ? bundle.stem() : fs::path(name);
}

} // namespace Platform
