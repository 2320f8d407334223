#pragma once

#include "base/ColorScheme.h"

#include <QIcon>
#include <QObject>

#include <chrono>
#include <memory>
#include <optional>

class QMenu;
class QWidget;

/// The functions of the system and its desktop that Qt does not have. One file for each system implements them.
class Platform : public QObject
{
    Q_OBJECT

public:
    /// Whether the Dock shows the application.
    enum class ActivationPolicy { Accessory, Regular };

    using QObject::QObject;

    virtual void setActivationPolicy(ActivationPolicy policy) = 0;
    /// Makes this the active application, also when another one is active.
    virtual void activateApplication() = 0;
    /// Keeps the activation token of the desktop. With it, the window that is activated next may come to the front.
    virtual void setActivationToken(const QByteArray& token) = 0;
    /// Call this before a window that the user has chosen is shown and activated. It may hide the window: some desktops
    /// bring a window to the front only when it is newly shown.
    virtual void prepareToShow(QWidget& /*window*/) {}

    /// Returns the "sparkles" symbol for the status bar. It is legible on light and dark bars, and sharp at any scale.
    virtual QIcon sparklesSymbol() const = 0;
    /// Shows the status item in the status area, now or as soon as there is one. A click opens `menu`, which must
    /// outlive this object. `name` is the tool tip.
    virtual void showStatusItem(const QString& name, const QIcon& icon, QMenu* menu) = 0;
    /// Returns whether there is a status area. Some status areas are found only after the event loop has started.
    virtual bool hasStatusArea() const = 0;
    /// How long the user's session has lasted; nothing where that is not known.
    virtual std::optional<std::chrono::milliseconds> sessionAge() const { return std::nullopt; }
    /// Returns the color scheme that the user prefers, where the desktop tells it and Qt does not follow it by itself.
    /// It is known some time after the start.
    virtual ColorScheme colorScheme() const { return ColorScheme::Unknown; }

signals:
    void statusAreaChanged();
    void colorSchemeChanged();
    /// The user has opened the running application again. Only systems that start no second program for that emit this;
    /// for the others see `SingleInstance`.
    void reopened();
};

/// Returns the platform of this system. There must be an application object.
std::unique_ptr<Platform> makePlatform();
