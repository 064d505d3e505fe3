#include "../Platform.h"
#include "PropertyList.h"

namespace Platform {

std::string bundleVersion(const std::filesystem::path& bundle) {
  return PropertyList::readText(bundle / "Contents/Info.plist", "CFBundleShortVersionString");
}

} // namespace Platform
