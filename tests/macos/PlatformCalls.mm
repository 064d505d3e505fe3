#include "PlatformCalls.h"

#include "RecordingWorkspace.h"

#import <Foundation/Foundation.h>

#include <ctime>
#include <dlfcn.h>

// Half of a surrogate pair has no UTF-8 form; GNUstep's own strings refuse to hold one.
@interface HalfACharacter : NSString
@end

@implementation HalfACharacter
- (NSUInteger)length {
  return 1;
}
- (unichar)characterAtIndex:(NSUInteger)index {
  return index == 0 ? 0xd800 : 0;
}
- (const char*)UTF8String {
  return nullptr;
}
@end

namespace {

std::vector<std::string> lookups;
std::optional<std::vector<std::string>> namedFolders;
std::vector<test::LibraryLoad> loads;
std::string executableFolder;
std::function<void()> pauseAction;

NSString* platformString(const std::string& text) {
  NSString* const string = [NSString stringWithUTF8String:text.c_str()];
  return string != nil ? string : [[[HalfACharacter alloc] init] autorelease];
}

NSArray* listOf(const std::vector<std::string>& texts) {
  NSMutableArray* const list = [NSMutableArray array];
  for (const std::string& text : texts)
    [list addObject:platformString(text)];
  return list;
}

} // namespace

extern "C" {

NSArray* __real_NSSearchPathForDirectoriesInDomains(
    NSSearchPathDirectory directory, NSSearchPathDomainMask domain, BOOL tilde);
NSArray* __wrap_NSSearchPathForDirectoriesInDomains(
    NSSearchPathDirectory directory, NSSearchPathDomainMask domain, BOOL tilde);
void* __real_dlopen(const char* path, int mode);
void* __wrap_dlopen(const char* path, int mode);

NSArray* __wrap_NSSearchPathForDirectoriesInDomains(
    NSSearchPathDirectory directory, NSSearchPathDomainMask domain, BOOL tilde) {
  lookups.push_back(
      std::to_string(directory) + " " + std::to_string(domain) + (tilde ? " YES" : " NO"));
  return namedFolders ? listOf(*namedFolders)
                      : __real_NSSearchPathForDirectoriesInDomains(directory, domain, tilde);
}

void* __wrap_dlopen(const char* path, int mode) {
  loads.push_back({path, mode});
  const std::string notation = "@executable_path";
  if (loads.back().path.rfind(notation, 0) != 0)
    return __real_dlopen(path, mode);
  return __real_dlopen((executableFolder + (path + notation.size())).c_str(), mode);
}

// The pause after a start is noted among the platform's messages.
int nanosleep(const timespec* duration, timespec*) {
  test::recordMessage(
      "pause of " + std::to_string(duration->tv_sec * 1000 + duration->tv_nsec / 1000000) + " ms");
  if (pauseAction)
    pauseAction();
  return 0;
}

} // extern "C"

namespace test {

std::vector<std::string> folderLookups() {
  return lookups;
}

void nameFolders(const std::optional<std::vector<std::string>>& folders) {
  namedFolders = folders;
}

std::vector<LibraryLoad> libraryLoads() {
  return loads;
}

void setExecutableFolder(const std::filesystem::path& folder) {
  executableFolder = folder.string();
}

void onPause(const std::function<void()>& action) {
  pauseAction = action;
}

void resetPlatformCalls() {
  lookups.clear();
  namedFolders.reset();
  loads.clear();
  executableFolder.clear();
  pauseAction = nullptr;
}

} // namespace test
