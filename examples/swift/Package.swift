// swift-tools-version:5.9
// A host and a plug-in in Swift, with the kits as a package.
import PackageDescription

let kits = "ThinClientLauncher"

let package = Package(
  name: "ThinClientLauncherExamples",
  platforms: [.macOS(.v11)],
  products: [.library(name: "nexal_vdi_main", type: .dynamic, targets: ["MainLibrary"])],
  dependencies: [.package(name: kits, path: "../..")],
  targets: [
    .executableTarget(
      name: "example_swift_host",
      dependencies: [.product(name: "ThinClientLauncherHost", package: kits)], path: "Sources/Host"),
    .executableTarget(
      name: "OrlixVDIPlugin",
      dependencies: [.product(name: "ThinClientLauncherPlugin", package: kits)],
      path: "Sources/Application"),
    .target(
      name: "MainLibrary",
      dependencies: [.product(name: "ThinClientLauncherPlugin", package: kits)]),
  ])
