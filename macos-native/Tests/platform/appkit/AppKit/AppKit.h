/// What PlatformMac.mm uses of AppKit, declared as Apple documents it at
/// https://developer.apple.com/documentation/appkit and …/foundation, so that its syntax can be checked where there is
/// no macOS. Nothing here is ever linked or run.
#pragma once

// The formatter would space Objective-C as it does C++.
// clang-format off

using BOOL = bool;
using NSInteger = long;
using NSUInteger = unsigned long;
using CGFloat = double;
#define YES true
#define NO false
#define nil nullptr

struct CGPoint { CGFloat x, y; };
struct CGSize { CGFloat width, height; };
struct CGRect { CGPoint origin; CGSize size; };
using NSRect = CGRect;
NSRect NSMakeRect(CGFloat x, CGFloat y, CGFloat width, CGFloat height);
using CGImageRef = struct CGImage *;

__attribute__((objc_root_class))
@interface NSObject
+ (instancetype)alloc;
- (instancetype)init;
@end

@interface NSString : NSObject
@end
@interface NSConstantString : NSString
@end
@interface NSData : NSObject
@end
@interface NSDictionary<__covariant Key, __covariant Value> : NSObject
+ (instancetype)dictionaryWithObjects:(const Value [])values forKeys:(const Key [])keys count:(NSUInteger)count;
@end

using AEEventClass = unsigned int;
using AEEventID = unsigned int;
constexpr AEEventClass kCoreEventClass = 0x61657674; // "aevt"
constexpr AEEventID kAEReopenApplication = 0x72617070; // "rapp"

@interface NSAppleEventDescriptor : NSObject
@end

@interface NSAppleEventManager : NSObject
+ (NSAppleEventManager *)sharedAppleEventManager;
- (void)setEventHandler:(id)handler
            andSelector:(SEL)handleEventSelector
          forEventClass:(AEEventClass)eventClass
             andEventID:(AEEventID)eventID;
- (void)removeEventHandlerForEventClass:(AEEventClass)eventClass andEventID:(AEEventID)eventID;
@end

typedef NSInteger NSApplicationActivationPolicy;
constexpr NSApplicationActivationPolicy NSApplicationActivationPolicyRegular = 0;
constexpr NSApplicationActivationPolicy NSApplicationActivationPolicyAccessory = 1;

@interface NSApplication : NSObject
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)policy;
- (void)activateIgnoringOtherApps:(BOOL)flag;
@end
extern NSApplication *NSApp;

typedef NSUInteger NSApplicationActivationOptions;
constexpr NSApplicationActivationOptions NSApplicationActivateAllWindows = 1 << 0;
constexpr NSApplicationActivationOptions NSApplicationActivateIgnoringOtherApps = 1 << 1;

@interface NSRunningApplication : NSObject
@property (class, readonly, strong) NSRunningApplication *currentApplication;
- (BOOL)activateWithOptions:(NSApplicationActivationOptions)options;
@end

@class NSGraphicsContext;
@interface NSImage : NSObject
+ (instancetype)imageWithSystemSymbolName:(NSString *)name accessibilityDescription:(NSString *)description;
- (CGImageRef)CGImageForProposedRect:(NSRect *)area context:(NSGraphicsContext *)context hints:(NSDictionary *)hints;
@end

typedef NSUInteger NSBitmapImageFileType;
constexpr NSBitmapImageFileType NSBitmapImageFileTypePNG = 4;

@interface NSBitmapImageRep : NSObject
- (instancetype)initWithCGImage:(CGImageRef)image;
- (NSData *)representationUsingType:(NSBitmapImageFileType)type properties:(NSDictionary *)properties;
@end
