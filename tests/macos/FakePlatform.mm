#include "FakePlatform.h"

#include "FakeSleep.h"

#import <AppKit/AppKit.h>
#import <Foundation/Foundation.h>

#include <Block.h>
#include <deque>
#include <dlfcn.h>
#include <map>
#include <thread>

using CompletionHandler = void (^)(NSRunningApplication*, NSError*);

extern "C" void* _NSConcreteGlobalBlock[];

namespace {

std::vector<std::string> noted;
std::optional<std::vector<std::string>> namedDirectories;
std::string executableDirectory;
std::deque<CompletionHandler> unanswered;
std::map<const void*, std::string> argumentsOfConfigurations; // of the live ones

void note(const std::string& call) {
  noted.push_back(call);
}

std::string textOf(id value) {
  return [[value description] UTF8String];
}

std::string textOf(BOOL value) {
  return value ? "YES" : "NO";
}

// A block that captures something lies on the stack or the heap.
bool captures(CompletionHandler handler) {
  return *reinterpret_cast<void* const*>(handler) != static_cast<void*>(_NSConcreteGlobalBlock);
}

} // namespace

// --- Foundation ---

// GNUstep's own strings always have a UTF-8 form; on a Mac half of a surrogate pair has none.
@interface HalfACharacter : NSString
@end

@implementation HalfACharacter
- (const char*)UTF8String {
  return nullptr;
}
@end

static NSArray* listOf(const std::vector<std::string>& texts) {
  NSMutableArray* const list = [NSMutableArray array];
  for (const std::string& text : texts) {
    NSString* const string = [NSString stringWithUTF8String:text.c_str()];
    [list addObject:string != nil ? string : [[[HalfACharacter alloc] init] autorelease]];
  }
  return list;
}

// The linker leads the bridge's calls of NAME to __wrap_NAME; __real_NAME is the original.
extern "C" {

NSArray*
    __real_NSSearchPathForDirectoriesInDomains(NSSearchPathDirectory, NSSearchPathDomainMask, BOOL);
void* __real_dlopen(const char*, int);

NSArray* __wrap_NSSearchPathForDirectoriesInDomains(
    NSSearchPathDirectory directory, NSSearchPathDomainMask domain, BOOL tilde) {
  note(
      "NSSearchPathForDirectoriesInDomains " + std::to_string(directory) + " " +
      std::to_string(domain) + " " + textOf(tilde));
  return namedDirectories ? listOf(*namedDirectories)
                          : __real_NSSearchPathForDirectoriesInDomains(directory, domain, tilde);
}

void __wrap_NSLog(NSString* format, ...) {
  va_list values;
  va_start(values, format);
  note("NSLog " + textOf([[[NSString alloc] initWithFormat:format arguments:values] autorelease]));
  va_end(values);
}

// --- The loader ---

void* __wrap_dlopen(const char* path, int mode) {
  const std::string notation = "@executable_path", text = path;
  note(
      std::string("dlopen ") +
      (mode == (RTLD_NOW | RTLD_GLOBAL) ? "NOW|GLOBAL" : std::to_string(mode)) + " " + text);
  const bool resolved = text.rfind(notation, 0) == 0;
  return __real_dlopen(
      resolved ? (executableDirectory + text.substr(notation.size())).c_str() : path, mode);
}

} // extern "C"

// --- AppKit ---

@implementation NSWorkspaceOpenConfiguration

// Nobody reads them back.
@dynamic environment, promptsUserIfNeeded, arguments, createsNewApplicationInstance;

+ (instancetype)configuration {
  note("NSWorkspaceOpenConfiguration configuration");
  NSWorkspaceOpenConfiguration* const made = [[[self alloc] init] autorelease];
  argumentsOfConfigurations[made];
  return made;
}

- (void)dealloc {
  argumentsOfConfigurations.erase(self);
  [super dealloc];
}

- (void)setEnvironment:(NSDictionary*)environment {
  note("setEnvironment: " + std::to_string([environment count]) + " variables");
}

- (void)setPromptsUserIfNeeded:(BOOL)prompts {
  note("setPromptsUserIfNeeded: " + textOf(prompts));
}

- (void)setArguments:(NSArray*)arguments {
  note("setArguments:");
  std::string& texts = argumentsOfConfigurations[self] = "";
  for (NSUInteger index = 0; index < [arguments count]; ++index)
    texts += " \"" + textOf([arguments objectAtIndex:index]) + "\"";
}

- (void)setCreatesNewApplicationInstance:(BOOL)creates {
  note("setCreatesNewApplicationInstance: " + textOf(creates));
}

@end

@implementation NSWorkspace

+ (NSWorkspace*)sharedWorkspace {
  static NSWorkspace* const shared = [[self alloc] init];
  note("NSWorkspace sharedWorkspace");
  return shared;
}

- (void)openApplicationAtURL:(NSURL*)url
               configuration:(NSWorkspaceOpenConfiguration*)configuration
           completionHandler:(CompletionHandler)handler {
  note(
      "openApplicationAtURL: " + textOf([url scheme]) + " " + textOf([url path]) +
      argumentsOfConfigurations.at(configuration) + (captures(handler) ? " capturing" : ""));
  unanswered.push_back(Block_copy(handler));
}

@end

// GNUstep's description is the localized one.
@interface FakeError : NSError
@end

@implementation FakeError
- (NSString*)description {
  return @"not the localized description";
}
@end

static NSError* errorSaying(const std::string& description) {
  NSString* const text = [NSString stringWithUTF8String:description.c_str()];
  return [FakeError errorWithDomain:@"test" code:1 userInfo:@{NSLocalizedDescriptionKey : text}];
}

// --- What the tests ask and set ---

namespace test::FakePlatform {

void reset() {
  noted.clear();
  namedDirectories.reset();
  executableDirectory.clear();
  onPause([] {});
  for (CompletionHandler handler : unanswered)
    Block_release(handler);
  unanswered.clear();
}

std::vector<std::string> calls(const std::string& start) {
  std::vector<std::string> values;
  for (const std::string& call : noted)
    if (call.rfind(start, 0) == 0)
      values.push_back(call.substr(start.size()));
  return values;
}

void setUserDirectories(
    const std::filesystem::path& library, const std::filesystem::path& defaults) {
  @autoreleasepool {
    GNUstepConfig(@{
      @"GNUSTEP_USER_DIR_LIBRARY" : [NSString stringWithUTF8String:library.c_str()],
      @"GNUSTEP_USER_DEFAULTS_DIR" : [NSString stringWithUTF8String:defaults.c_str()],
      @"GNUSTEP_USER_CONFIG_FILE" : @"" // none in the user's home
    });
  }
}

void nameDirectories(const std::vector<std::string>& folders) {
  namedDirectories = folders;
}

void setExecutableDirectory(const std::filesystem::path& folder) {
  executableDirectory = folder.string();
}

void onPause(const std::function<void()>& action) {
  FakeSleep::setAction([action] {
    note("pause");
    action();
  });
}

void answerStart(const std::optional<std::string>& failure) {
  CompletionHandler handler = unanswered.front();
  unanswered.pop_front();
  std::thread([&] {
    @autoreleasepool {
      handler(nil, failure ? errorSaying(*failure) : nil);
    }
  }).join();
  Block_release(handler);
}

std::size_t liveConfigurations() {
  return argumentsOfConfigurations.size();
}

} // namespace test::FakePlatform
