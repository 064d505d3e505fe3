// The one source that talks to Foundation, AppKit and dyld. It works with and without ARC: every
// object comes from a convenience constructor and is released by its operation's autorelease pool.

#include "../Platform.h"

#import <AppKit/AppKit.h>
#import <Foundation/Foundation.h>

#include <algorithm>
#include <dlfcn.h>
#include <fstream>

namespace fs = std::filesystem;

namespace Platform {

// --- Texts ---

// Nil if the bytes are not UTF-8.
static NSString* platformString(const std::string& text) {
  return [NSString stringWithUTF8String:text.c_str()];
}

// Empty for nil, for an object that is no text, and for a text without a UTF-8 form.
static std::string standardString(id value) {
  if (![value isKindOfClass:[NSString class]])
    return {};
  const char* const text = [value UTF8String];
  return text != nullptr ? text : "";
}

// --- Folders ---

fs::path applicationSupportDirectory() {
  @autoreleasepool {
    NSArray* const folders =
        NSSearchPathForDirectoriesInDomains(NSApplicationSupportDirectory, NSUserDomainMask, YES);
    return standardString([folders firstObject]);
  }
}

fs::path libraryDirectory() {
  @autoreleasepool {
    NSArray* const folders =
        NSSearchPathForDirectoriesInDomains(NSLibraryDirectory, NSUserDomainMask, YES);
    return [folders count] > 0 ? standardString([folders objectAtIndex:0]) : std::string();
  }
}

// --- Bundles ---

// A step that finds nothing returns nil, and a message to nil returns nil.
static NSDictionary* informationOf(const fs::path& bundle) {
  NSString* const path = platformString(bundle.string());
  NSBundle* const opened = path != nil ? [NSBundle bundleWithPath:path] : nil;
  return [opened infoDictionary];
}

std::string bundleText(const fs::path& bundle, const char* key) {
  @autoreleasepool {
    return standardString([informationOf(bundle) objectForKey:platformString(key)]);
  }
}

std::string bundleVersion(const fs::path& bundle) {
  return bundleText(bundle, "CFBundleShortVersionString");
}

// NSBundle does not tell a malformed list from one without a dictionary, and has no limit of size.
ListProblem versionProblem(const fs::path& bundle) {
  @autoreleasepool {
    NSDictionary* const information = informationOf(bundle);
    id const value = [information objectForKey:@"CFBundleShortVersionString"];
    if ([value isKindOfClass:[NSString class]])
      return ListProblem::None;
    if (value != nil)
      return ListProblem::NoText;
    return [information count] > 0 ? ListProblem::NoKey : ListProblem::Malformed;
  }
}

fs::path executableName(const fs::path& bundle) {
  const std::string name = bundleText(bundle, "CFBundleExecutable");
  return name.empty() ? bundle.stem() : fs::path(name);
}

// --- Files ---

std::optional<std::string> readFile(const fs::path& file, std::size_t limit) {
  std::error_code error;
  std::ifstream stream;
  if (fs::is_regular_file(file, error))
    stream.open(file, std::ios::binary);
  if (!stream.is_open())
    return std::nullopt;
  std::string text(std::min<std::uintmax_t>(limit, fs::file_size(file, error)), '\0');
  stream.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<std::size_t>(stream.gcount()));
  return stream.bad() ? std::nullopt : std::optional(text);
}

// The file clock has 128 bits here and represents every time of the file system.
fs::file_time_type modificationTime(const fs::path& file) {
  return fs::last_write_time(file);
}

// --- Application start ---

static NSWorkspaceOpenConfiguration* newInstanceWith(NSArray* arguments) {
  NSWorkspaceOpenConfiguration* const configuration = [NSWorkspaceOpenConfiguration configuration];
  [configuration setEnvironment:[NSDictionary dictionary]];
  [configuration setPromptsUserIfNeeded:YES];
  [configuration setArguments:arguments];
  [configuration setCreatesNewApplicationInstance:YES];
  return configuration;
}

void startApplication(const fs::path& bundle, const std::string& argument) {
  @autoreleasepool {
    // A nil argument ends the list at once, so the list is empty.
    NSArray* const arguments = [NSArray arrayWithObjects:platformString(argument), nil];
    NSString* const path = platformString(bundle.string());
    if (path == nil) { // fileURLWithPath: raises an exception for nil
      NSLog(@"Failed to run the app: %@", @"its path is not UTF-8");
      return;
    }
    NSWorkspaceOpenConfiguration* const configuration = newInstanceWith(arguments);
    NSWorkspace* const workspace = [NSWorkspace sharedWorkspace];
    // The handler may run after the entry point has closed the log; it captures nothing.
    [workspace openApplicationAtURL:[NSURL fileURLWithPath:path]
                      configuration:configuration
                  completionHandler:^(NSRunningApplication*, NSError* error) {
                    if (error != nil)
                      NSLog(@"Failed to run the app: %@", [error localizedDescription]);
                    else
                      NSLog(@"launch app succeed");
                  }];
  }
}

// --- Libraries ---

// dyld resolves @executable_path.
std::string frameworksPrefix() {
  return "@executable_path/../Frameworks/";
}

void* loadLibrary(const std::string& path) {
  return ::dlopen(path.c_str(), RTLD_NOW | RTLD_GLOBAL);
}

void* findSymbol(void* library, const std::string& name) {
  return ::dlsym(library, name.c_str());
}

fs::path imagePath(const void* code) {
  Dl_info image{};
  return fs::canonical(::dladdr(code, &image) != 0 ? image.dli_fname : "");
}

fs::path startedProgram() {
  @autoreleasepool {
    return standardString([[NSBundle mainBundle] executablePath]);
  }
}

std::string loaderError() {
  const char* const text = ::dlerror();
  return text != nullptr ? text : "";
}

} // namespace Platform
