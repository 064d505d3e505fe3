// swift-tools-version:5.9
// The kits for hosts and for plug-ins in Swift and in Xcode, built from source. The launcher library
// itself is no part: a host loads the file that CMake builds.
import PackageDescription

#if os(Linux)
let bridge = "linux/Platform.cpp"
#else
let bridge = "macos/LauncherHelper.mm"
#endif
let launcher = ["Folders.cpp", "LibraryLoading.cpp", "Logger.cpp", bridge]
let headers: [CXXSetting] = ["ThinClientLauncher", "tools/inspect"].map {
  .headerSearchPath("../" + $0)
}

let package = Package(
  name: "ThinClientLauncher",
  platforms: [.macOS(.v11)],
  products: ["ThinClientLauncherHost", "ThinClientLauncherPlugin"].map {
    .library(name: $0, targets: [$0])
  },
  targets: [
    .target(
      name: "ThinClientLauncherHost", dependencies: ["LauncherSources"], path: "kits",
      sources: ["ThinClientLauncherHost.cpp", "LaunchProgress.cpp"],
      publicHeadersPath: ".", cxxSettings: headers),
    .target(
      name: "ThinClientLauncherPlugin", dependencies: ["LauncherSources"], path: "kits",
      sources: ["ThinClientLauncherPlugin.cpp"], publicHeadersPath: ".", cxxSettings: headers),
    .target( // what both kits share, since no source may belong to two targets
      name: "LauncherSources", path: ".",
      sources: launcher.map { "ThinClientLauncher/" + $0 } + ["tools/inspect/LaunchLog.cpp"],
      publicHeadersPath: "ThinClientLauncher",
      cxxSettings: [.headerSearchPath("ThinClientLauncher")],
      linkerSettings: ["Foundation", "AppKit"].map {
        .linkedFramework($0, .when(platforms: [.macOS]))
      }),
  ],
  cxxLanguageStandard: .cxx17)
