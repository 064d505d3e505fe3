// What code for macOS imports and Linux lacks or has in another form: the loader's work on
// Objective-C, the entry points of ARC, and a few functions of the C library.

#include "MacRuntime.h"

#include "Home.h"

#import <Foundation/Foundation.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <locale>
#include <map>
#include <objc/runtime.h>
#include <string>
#include <sys/mman.h>
#include <utility>

namespace fs = std::filesystem;

extern "C" IMP objc_msg_lookup(id self, SEL selector);

namespace {

// A class of ours stands in for the one of GNUstep that differs from a Mac's. Ends the process with
// the name of a class that is missing.
void bindClasses(const ClassReference* references) {
  for (; references->place != nullptr; ++references) {
    const Class ours = objc_lookUpClass((std::string("Mac") + references->name).c_str());
    *references->place = ours != nullptr ? ours : objc_getRequiredClass(references->name);
  }
}

std::map<SEL, MessageKind> messageKinds;

void bindSelectors(const SelectorReference* references) {
  for (; references->place != nullptr; ++references) {
    const SEL selector = sel_registerName(static_cast<const char*>(*references->place));
    *references->place = const_cast<void*>(static_cast<const void*>(selector));
    messageKinds[selector] = references->kind;
  }
}

} // namespace

// --- The loader ---

void mac_adopt(
    const ClassReference* classes,
    const SelectorReference* selectors,
    char* image,
    char* endOfConstants) {
  bindClasses(classes);
  bindSelectors(selectors);
  mprotect(image, static_cast<std::size_t>(endOfConstants - image), PROT_READ | PROT_EXEC);
}

// The fakes of the bridge's tests note the call and serve it.
extern "C" void* __wrap_dlopen(const char* path, int mode);

extern "C" void* mac_dlopen(const char* path, int mode) {
  constexpr int MAC_NOW_AND_GLOBAL = 10;
  return __wrap_dlopen(path, mode == MAC_NOW_AND_GLOBAL ? RTLD_NOW | RTLD_GLOBAL : RTLD_LAZY);
}

// Only for pointers that are bound when they are first used; here all are bound at once.
extern "C" void dyld_stub_binder() {
  std::abort();
}

// --- Messages and ARC ---

// What objc_msgSend needs, in the border's assembler.
struct FoundMethod {
  IMP code;
  MessageKind kind;
};

extern "C" FoundMethod mac_lookup(id self, SEL selector) {
  return {objc_msg_lookup(self, selector), messageKinds.at(selector)};
}

extern "C" id objc_retain(id object) {
  return [object retain];
}

extern "C" void objc_release(id object) {
  [object release];
}

extern "C" id objc_autoreleaseReturnValue(id object) {
  return [object autorelease];
}

extern "C" id objc_retainAutorelease(id object) {
  return [[object retain] autorelease];
}

extern "C" id objc_retainAutoreleasedReturnValue(id object) {
  return [object retain];
}

extern "C" void* objc_autoreleasePoolPush() {
  return [[NSAutoreleasePool alloc] init];
}

extern "C" void objc_autoreleasePoolPop(void* pool) {
  [static_cast<id>(pool) release];
}

// --- The standard libraries ---

#ifndef __aarch64__ // where Linux has one
extern "C" const std::uintptr_t __stack_chk_guard = 0x5A17C0DE00FF0DULL;
#endif

// std::locale::use_facet
extern "C" const void*
linux_use_facet(const std::locale*, std::locale::id&) asm("_ZNKSt3__16locale9use_facetERNS0_2idE");

// What code for a Mac reads itself to classify characters.
struct CharacterTypes {
  CharacterTypes() {
    const std::pair<int (*)(int), std::uint32_t> classes[] = {
        {std::isalpha, 0x100},
        {std::iscntrl, 0x200},
        {std::isdigit, 0x400},
        {std::isgraph, 0x800},
        {std::islower, 0x1000},
        {std::ispunct, 0x2000},
        {std::isspace, 0x4000},
        {std::isupper, 0x8000},
        {std::isxdigit, 0x10000},
        {std::isblank, 0x20000},
        {std::isprint, 0x40000}};
    for (int character = 0; character < 128; ++character)
      for (const auto& [isOfClass, bit] : classes)
        types[character] |= isOfClass(character) != 0 ? bit : 0;
  }

  char before[60]{};
  std::uint32_t types[256]{};
};

extern "C" {
extern const CharacterTypes macCharacterTypes asm("_DefaultRuneLocale");
const CharacterTypes macCharacterTypes;

int __maskrune(int character, unsigned long classes) {
  return character >= 0 && character < 256
             ? static_cast<int>(macCharacterTypes.types[character] & classes)
             : 0;
}
}

namespace {

// std::ctype<char> as a Mac lays it out.
struct CharacterFacet {
  CharacterFacet(const std::ctype<char>& original) {
    std::memcpy(base, static_cast<const void*>(&original), sizeof base);
  }

  void* base[2]; // table of virtual functions, count of owners
  const std::uint32_t* table = macCharacterTypes.types;
  bool ownsTable = false;
};

} // namespace

extern "C" const void* mac_use_facet(const std::locale* locale, std::locale::id& id) {
  static const CharacterFacet facet(std::use_facet<std::ctype<char>>(std::locale::classic()));
  return &id == &std::ctype<char>::id ? &facet : linux_use_facet(locale, id);
}

// --- Foundation ---

extern "C" NSArray*
    __wrap_NSSearchPathForDirectoriesInDomains(NSSearchPathDirectory, NSSearchPathDomainMask, BOOL);

// In a home folder of a test's own, the folders are where a Mac has them.
extern "C" NSArray* mac_NSSearchPathForDirectoriesInDomains(
    NSSearchPathDirectory directory, NSSearchPathDomainMask domain, BOOL tilde) {
  const char* const home = std::getenv("CFFIXED_USER_HOME");
  if (home == nullptr)
    return __wrap_NSSearchPathForDirectoriesInDomains(directory, domain, tilde);
  NSString* const library =
      [[NSString stringWithUTF8String:home] stringByAppendingPathComponent:@"Library"];
  return [NSArray
      arrayWithObject:directory == NSLibraryDirectory
                          ? library
                          : [library stringByAppendingPathComponent:@"Application Support"]];
}

// GNUstep's bundles have their property list elsewhere and remember it, and take a backslash for a
// separator.
@interface MacNSBundle : NSObject {
  fs::path folder;
}
@end

@implementation MacNSBundle

+ (instancetype)bundleWithPath:(NSString*)path {
  std::error_code error;
  if (!fs::is_directory([path UTF8String], error))
    return nil;
  MacNSBundle* const bundle = [[[self alloc] init] autorelease];
  bundle->folder = [path UTF8String];
  return bundle;
}

+ (id)mainBundle {
  return [NSBundle mainBundle];
}

- (NSDictionary*)infoDictionary {
  const std::string list = test::readFile(folder / test::propertyListPlace);
  if (list.find("plist") == std::string::npos) // GNUstep would lose memory
    return nil;
  NSData* const data = [NSData dataWithBytes:list.data() length:list.size()];
  @try {
    id const value = [NSPropertyListSerialization propertyListWithData:data
                                                               options:0
                                                                format:nullptr
                                                                 error:nullptr];
    return [value isKindOfClass:[NSDictionary class]] ? value : nil;
  } @catch (NSException*) {
    return nil;
  }
}

@end
