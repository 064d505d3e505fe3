// The part of AppKit that the bridge uses, declared from its public documentation.
#pragma once

#import <Foundation/Foundation.h>

#pragma clang assume_nonnull begin

@class NSRunningApplication;

@interface NSWorkspaceOpenConfiguration : NSObject
+ (instancetype)configuration;
@property(copy) NSDictionary* environment;
@property BOOL promptsUserIfNeeded;
@property(copy) NSArray* arguments;
@property BOOL createsNewApplicationInstance;
@end

@interface NSWorkspace : NSObject
@property(class, readonly, strong) NSWorkspace* sharedWorkspace;
- (void)openApplicationAtURL:(NSURL*)url
               configuration:(NSWorkspaceOpenConfiguration*)configuration
           completionHandler:(void (^_Nullable)(
                                 NSRunningApplication* _Nullable application,
                                 NSError* _Nullable error))completionHandler;
@end

#pragma clang assume_nonnull end
