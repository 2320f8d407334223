#pragma once

#include <QObject>

#include <optional>

/// Knows whether the desktop has a status area, which may come and go, and with it whether a status item can be seen.
class StatusArea final : public QObject
{
    Q_OBJECT

public:
    /// To be made once there is a status item.
    explicit StatusArea(QObject* parent = nullptr);

    bool isAvailable() const;

signals:
    /// It has come or gone.
    void changed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::optional<bool> m_hasHost; // of items that the desktop draws; none where an item is a window
};
