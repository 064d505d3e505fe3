// The plug-in application's executable in Swift: passes its arguments to the launcher library.

import ThinClientLauncherPlugin

ThinClientLauncherPluginRun(CommandLine.argc, CommandLine.unsafeArgv)
