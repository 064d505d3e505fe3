// The part of Foundation that the bridge uses, declared from its public documentation.
#pragma once

#import <objc/NSObject.h>

#pragma clang assume_nonnull begin

@class NSDictionary, NSString;

@interface NSArray : NSObject
+ (instancetype)arrayWithObjects:(id)first, ... __attribute__((sentinel));
- (id)objectAtIndex:(NSUInteger)index;
@property(readonly) NSUInteger count;
@property(nullable, readonly) id firstObject;
@end

@interface NSDictionary : NSObject
+ (instancetype)dictionary;
- (nullable id)objectForKey:(id)key;
@property(readonly) NSUInteger count;
@end

@interface NSString : NSObject
+ (nullable instancetype)stringWithUTF8String:(const char*)text;
@property(nullable, readonly) const char* UTF8String __attribute__((objc_returns_inner_pointer));
@end

@interface NSURL : NSObject
+ (instancetype)fileURLWithPath:(NSString*)path;
@end

@interface NSError : NSObject
@property(readonly, copy) NSString* localizedDescription;
@end

@interface NSBundle : NSObject
+ (nullable instancetype)bundleWithPath:(NSString*)path;
@property(class, readonly, strong) NSBundle* mainBundle;
@property(nullable, readonly, copy) NSString* executablePath;
@property(nullable, readonly, copy) NSDictionary* infoDictionary;
@end

typedef enum : NSUInteger {
  NSLibraryDirectory = 5,
  NSApplicationSupportDirectory = 14,
} NSSearchPathDirectory;

typedef enum : NSUInteger {
  NSUserDomainMask = 1,
} NSSearchPathDomainMask;

OBJC_EXPORT NSArray* NSSearchPathForDirectoriesInDomains(
    NSSearchPathDirectory directory, NSSearchPathDomainMask domainMask, BOOL expandTilde);

OBJC_EXPORT void NSLog(NSString* format, ...) __attribute__((format(__NSString__, 1, 2)));

#pragma clang assume_nonnull end
