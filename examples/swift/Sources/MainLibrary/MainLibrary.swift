// The plug-in's main library in Swift. A real one would work here until the session ends, and record
// the safe start once it works; this one only records it.

import ThinClientLauncherPlugin

@_cdecl("VDIEntryPoint")
public func entryPoint(_ argc: Int32, _ argv: UnsafeMutableRawPointer?) -> Int32 {
  return Int32(ThinClientLauncherPluginRecordSafeStart().rawValue)
}
