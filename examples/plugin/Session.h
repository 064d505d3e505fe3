#pragma once

// What the plug-in does, in a library of its own.
__attribute__((visibility("default"))) bool isSessionReady();
