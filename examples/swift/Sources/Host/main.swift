// A host in Swift: requests a launch through the kit for hosts, and tells how far it has come.
// Usage: example_swift_host LIBRARY CLIENT_VERSION
// Exit status: 0 the launch ran to its end, 1 it did not, 2 wrong usage.

import Foundation
import ThinClientLauncherHost

func fail(_ message: String, _ status: Int32) -> Never {
  FileHandle.standardError.write(Data((message + "\n").utf8))
  exit(status)
}

let arguments = CommandLine.arguments
guard arguments.count == 3 else {
  fail("usage: \(arguments[0]) LIBRARY CLIENT_VERSION", 2)
}
var reason = [CChar](repeating: 0, count: 1024)
let status = ThinClientLauncherHostLaunch(arguments[1], arguments[2], &reason, reason.count)
guard status == THIN_CLIENT_LAUNCHER_HOST_RETURNED else {
  fail("\(arguments[0]): no launch (status \(status.rawValue)): \(String(cString: reason))", 1)
}
var folder = [CChar](repeating: 0, count: 4096)
var version = [CChar](repeating: 0, count: 64)
let progress = ThinClientLauncherHostAwait(5000, &folder, folder.count, &version, version.count)
switch progress {
case THIN_CLIENT_LAUNCHER_HOST_STARTED_SAFELY:
  print("started safely: \(String(cString: version)) in \(String(cString: folder))")
case THIN_CLIENT_LAUNCHER_HOST_ENTERED:
  print("entered load mode: \(String(cString: version)) in \(String(cString: folder))")
case THIN_CLIENT_LAUNCHER_HOST_REQUESTED:
  print("start requested: \(String(cString: version)) in \(String(cString: folder))")
default:
  print("no start is known of")
}
