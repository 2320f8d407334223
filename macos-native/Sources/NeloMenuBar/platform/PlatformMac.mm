#include "platform/Platform.h"

#include <QByteArray>
#include <QImage>
#include <QObject>
#include <QPixmap>

#include <utility>

#import <AppKit/AppKit.h>

/// What the system tells when the user opens the running application again, in the Finder say or with a click in the
/// Dock. It takes the event from the system's own handler, which asks Qt's delegate; Qt passes on no more than that the
/// application is active.
@interface NeloReopenHandler : NSObject
- (instancetype)initWithAction:(std::function<void()>)action;
- (void)handleReopen:(NSAppleEventDescriptor *)event withReply:(NSAppleEventDescriptor *)reply;
@end

@implementation NeloReopenHandler {
    std::function<void()> _action;
}

- (instancetype)initWithAction:(std::function<void()>)action
{
    if ((self = [super init]))
        _action = std::move(action);
    return self;
}

- (void)handleReopen:(NSAppleEventDescriptor *)event withReply:(NSAppleEventDescriptor *)reply
{
    _action();
}

@end

void Platform::setActivationPolicy(ActivationPolicy policy)
{
    [NSApp setActivationPolicy:policy == ActivationPolicy::Regular ? NSApplicationActivationPolicyRegular
                                                                   : NSApplicationActivationPolicyAccessory];
}

void Platform::activateApplication()
{
    [[NSRunningApplication currentApplication]
        activateWithOptions:NSApplicationActivateAllWindows | NSApplicationActivateIgnoringOtherApps];
    [NSApp activateIgnoringOtherApps:YES];
}

QIcon Platform::sparklesSymbol()
{
    constexpr int side = 18;   // points, the height of the bar's symbols
    constexpr int scale = 2;   // pixels per point, the highest there is
    NSImage *symbol = [NSImage imageWithSystemSymbolName:@"sparkles" accessibilityDescription:@"Nelo"];
    NSRect area = NSMakeRect(0, 0, side * scale, side * scale);
    CGImageRef drawn = [symbol CGImageForProposedRect:&area context:nil hints:nil];
    if (!drawn)
        return {};
    NSBitmapImageRep *bitmap = [[NSBitmapImageRep alloc] initWithCGImage:drawn];
    NSData *png = [bitmap representationUsingType:NSBitmapImageFileTypePNG properties:@{}];
    QImage image = QImage::fromData(QByteArray::fromNSData(png));
    image.setDevicePixelRatio(scale);
    QIcon icon(QPixmap::fromImage(image));
    icon.setIsMask(true); // the bar draws it in its own colour
    return icon;
}

void Platform::openMenuOnClick(QSystemTrayIcon *, QMenu *)
{
    // The status bar opens the attached menu itself.
}

void Platform::onReopen(QObject *context, const std::function<void()> &action)
{
    NSAppleEventManager *manager = [NSAppleEventManager sharedAppleEventManager];
    NeloReopenHandler *handler = [[NeloReopenHandler alloc] initWithAction:action];
    [manager setEventHandler:handler
                 andSelector:@selector(handleReopen:withReply:)
               forEventClass:kCoreEventClass
                  andEventID:kAEReopenApplication];
    QObject::connect(context, &QObject::destroyed, context, [manager, handler] {
        (void)handler; // which only this connection keeps alive: the manager does not
        [manager removeEventHandlerForEventClass:kCoreEventClass andEventID:kAEReopenApplication];
    });
}
