#include "platform/Platform.h"

#include <QByteArray>
#include <QImage>
#include <QObject>
#include <QPixmap>
#include <QSystemTrayIcon>

#include <functional>
#include <memory>
#include <utility>

#import <AppKit/AppKit.h>

/// Handles the event that the user opens the running application again, for example in the Finder or with a click in the
/// Dock. It replaces the system's handler, which calls Qt's delegate: Qt only tells that the application is active.
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

namespace {

class MacPlatform final : public Platform
{
public:
    MacPlatform();
    MacPlatform(const MacPlatform &) = delete;
    MacPlatform &operator=(const MacPlatform &) = delete;
    ~MacPlatform() override;

    void setActivationPolicy(ActivationPolicy policy) override;
    void activateApplication() override;
    void setActivationToken(const QByteArray & /*token*/) override {} // macOS has no activation tokens
    QIcon sparklesSymbol() const override;
    void showStatusItem(const QString &name, const QIcon &icon, QMenu *menu) override;
    bool hasStatusArea() const override { return true; }

private:
    NeloReopenHandler *m_reopenHandler = nil; // the event manager does not own handlers
    std::unique_ptr<QSystemTrayIcon> m_statusItem;
};

MacPlatform::MacPlatform()
    : m_reopenHandler([[NeloReopenHandler alloc] initWithAction:[this] { emit reopened(); }])
{
    [[NSAppleEventManager sharedAppleEventManager] setEventHandler:m_reopenHandler
                                                       andSelector:@selector(handleReopen:withReply:)
                                                     forEventClass:kCoreEventClass
                                                        andEventID:kAEReopenApplication];
}

MacPlatform::~MacPlatform()
{
    [[NSAppleEventManager sharedAppleEventManager] removeEventHandlerForEventClass:kCoreEventClass
                                                                        andEventID:kAEReopenApplication];
}

void MacPlatform::setActivationPolicy(ActivationPolicy policy)
{
    [NSApp setActivationPolicy:policy == ActivationPolicy::Regular ? NSApplicationActivationPolicyRegular
                                                                   : NSApplicationActivationPolicyAccessory];
}

void MacPlatform::activateApplication()
{
    [[NSRunningApplication currentApplication]
        activateWithOptions:NSApplicationActivateAllWindows | NSApplicationActivateIgnoringOtherApps];
    [NSApp activateIgnoringOtherApps:YES];
}

QIcon MacPlatform::sparklesSymbol() const
{
    constexpr int side = 18;   // points: the height of the bar's symbols
    constexpr int scale = 2;   // pixels per point: the highest scale there is
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
    icon.setIsMask(true); // the bar draws it in its own color
    return icon;
}

void MacPlatform::showStatusItem(const QString &name, const QIcon &icon, QMenu *menu)
{
    m_statusItem = std::make_unique<QSystemTrayIcon>(icon);
    m_statusItem->setToolTip(name);
    m_statusItem->setContextMenu(menu); // the status bar opens it
    m_statusItem->show();
}

} // namespace

std::unique_ptr<Platform> makePlatform()
{
    return std::make_unique<MacPlatform>();
}
