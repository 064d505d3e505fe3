// What the library for macOS imports and Linux lacks or has in another form: the loader's work on
// Objective-C, the entry points of ARC, and a few functions of the C library.

#include "MacRuntime.h"

#include "Home.h"

#import <Foundation/Foundation.h>

#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <locale>
#include <map>
#include <objc/runtime.h>
#include <sys/mman.h>

extern "C" IMP objc_msg_lookup(id self, SEL selector);

namespace {

// Ends the process with the name of a class that is missing.
void bindClasses(const ClassReference* references) {
  for (; references->place != nullptr; ++references)
    *references->place = objc_getRequiredClass(references->name);
}

std::map<SEL, MessageKind> messageKinds;

void bindSelectors(const SelectorReference* references) {
  for (; references->place != nullptr; ++references) {
    const SEL selector = sel_registerName(static_cast<const char*>(*references->place));
    *references->place = const_cast<void*>(static_cast<const void*>(selector));
    messageKinds[selector] = references->kind;
  }
}

// Where GNUstep looks for it.
[[maybe_unused]] const bool isPlaceSet = (test::propertyListPlace = "Resources/Info.plist", true);

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

namespace {

// std::ctype<char> as a Mac lays it out: code that tests for white space reads the table itself.
// There, its entries have 32 bits, and another one stands for white space. No other class of
// characters is asked for.
struct CharacterClasses {
  CharacterClasses(const std::ctype<char>& original) {
    std::memcpy(base, static_cast<const void*>(&original), sizeof base);
    for (const int space : {' ', '\t', '\n', '\v', '\f', '\r'})
      entries[space] = 0x4000;
  }

  void* base[2]; // table of virtual functions, count of owners
  const std::uint32_t* table = entries;
  bool ownsTable = false;
  std::uint32_t entries[256]{};
};

} // namespace

extern "C" const void* mac_use_facet(const std::locale* locale, std::locale::id& id) {
  static const CharacterClasses classes(std::use_facet<std::ctype<char>>(std::locale::classic()));
  return &id == &std::ctype<char>::id ? &classes : linux_use_facet(locale, id);
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
