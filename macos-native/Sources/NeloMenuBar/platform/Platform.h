#pragma once

#include <QIcon>
#include <QObject>

#include <memory>

class QMenu;
class QWidget;

/// The system and its desktop, as far as Qt does not know them; one file per system implements it.
class Platform : public QObject
{
    Q_OBJECT

public:
    /// Whether the application shows itself in the Dock.
    enum class ActivationPolicy { Accessory, Regular };

    using QObject::QObject;

    virtual void setActivationPolicy(ActivationPolicy policy) = 0;
    /// Makes this the active application, also from behind another one.
    virtual void activateApplication() = 0;
    /// Keeps what a desktop has handed over so that the window which is activated next may come forward.
    virtual void setActivationToken(const QByteArray& token) = 0;
    /// To be called before a window that the user has chosen is shown and activated. It may hide the window: some
    /// desktops bring only a window forward that is newly shown.
    virtual void prepareToShow(QWidget& /*window*/) {}

    /// The "sparkles" symbol for the status bar, legible on light and dark bars, crisp at any scale.
    virtual QIcon sparklesSymbol() const = 0;
    /// Shows the status item in the status area, now and whenever there is one. Clicking it opens `menu`, which
    /// outlives this; `name` is its tool tip.
    virtual void showStatusItem(const QString& name, const QIcon& icon, QMenu* menu) = 0;
    /// Whether there is a status area. Some are only known to be there once the event loop runs.
    virtual bool hasStatusArea() const = 0;

signals:
    void statusAreaChanged();
    /// The user opens the running application again, on systems that start no second program for that; on others see
    /// `SingleInstance`.
    void reopened();
};

/// This system. To be made once there is an application object.
std::unique_ptr<Platform> makePlatform();
