#include "shell/platform/Platform.h"

#include <QByteArray>
#include <QImage>
#include <QPixmap>

#import <AppKit/AppKit.h>

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
