#include "RecordingWorkspace.h"

#import <AppKit/AppKit.h>
#import <Foundation/Foundation.h>

#include <Block.h>
#include <deque>
#include <map>
#include <thread>

using CompletionHandler = void (^)(NSRunningApplication*, NSError*);

extern "C" void* _NSConcreteGlobalBlock[];

namespace {

std::vector<std::string> messages;
std::vector<test::StartRequest> requests;
std::deque<CompletionHandler> unanswered;
std::map<const void*, std::vector<std::string>> argumentsOfConfigurations; // of the live ones

std::string textOf(id value) {
  return [[value description] UTF8String];
}

std::string textOf(BOOL value) {
  return value ? "YES" : "NO";
}

// A block that captures something lies on the stack or the heap.
bool capturesNothing(CompletionHandler handler) {
  return *reinterpret_cast<void* const*>(handler) == static_cast<void*>(_NSConcreteGlobalBlock);
}

std::vector<std::string> textsOf(NSArray* list) {
  std::vector<std::string> texts;
  for (NSUInteger index = 0; index < [list count]; ++index)
    texts.push_back(textOf([list objectAtIndex:index]));
  return texts;
}

NSError* errorSaying(const std::string& description) {
  NSDictionary* const details =
      [NSDictionary dictionaryWithObject:[NSString stringWithUTF8String:description.c_str()]
                                  forKey:NSLocalizedDescriptionKey];
  return [NSError errorWithDomain:@"test" code:1 userInfo:details];
}

} // namespace

@implementation NSWorkspaceOpenConfiguration

// Nobody reads them back.
@dynamic environment, promptsUserIfNeeded, arguments, createsNewApplicationInstance;

+ (instancetype)configuration {
  test::recordMessage("NSWorkspaceOpenConfiguration configuration");
  NSWorkspaceOpenConfiguration* const made = [[[self alloc] init] autorelease];
  argumentsOfConfigurations[made];
  return made;
}

- (void)dealloc {
  argumentsOfConfigurations.erase(self);
  [super dealloc];
}

- (void)setEnvironment:(NSDictionary*)environment {
  test::recordMessage("setEnvironment: " + std::to_string([environment count]) + " variables");
}

- (void)setPromptsUserIfNeeded:(BOOL)prompts {
  test::recordMessage("setPromptsUserIfNeeded: " + textOf(prompts));
}

- (void)setArguments:(NSArray*)arguments {
  test::recordMessage("setArguments: " + std::to_string([arguments count]) + " texts");
  argumentsOfConfigurations[self] = textsOf(arguments);
}

- (void)setCreatesNewApplicationInstance:(BOOL)creates {
  test::recordMessage("setCreatesNewApplicationInstance: " + textOf(creates));
}

@end

@implementation NSWorkspace

+ (NSWorkspace*)sharedWorkspace {
  static NSWorkspace* const shared = [[self alloc] init];
  test::recordMessage("NSWorkspace sharedWorkspace");
  return shared;
}

- (void)openApplicationAtURL:(NSURL*)url
               configuration:(NSWorkspaceOpenConfiguration*)configuration
           completionHandler:(CompletionHandler)handler {
  test::recordMessage("openApplicationAtURL: " + textOf([url scheme]) + " " + textOf([url path]));
  requests.push_back(
      {textOf([url path]), argumentsOfConfigurations[configuration], capturesNothing(handler)});
  unanswered.push_back(Block_copy(handler));
}

@end

namespace test {

std::vector<std::string> platformMessages() {
  return messages;
}

void recordMessage(const std::string& message) {
  messages.push_back(message);
}

std::vector<StartRequest> startRequests() {
  return requests;
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

void resetWorkspace() {
  messages.clear();
  requests.clear();
  for (CompletionHandler handler : unanswered)
    Block_release(handler);
  unanswered.clear();
}

} // namespace test
