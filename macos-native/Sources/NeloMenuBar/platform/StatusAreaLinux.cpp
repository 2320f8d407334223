#include "platform/EmbeddingTray.h"
#include "platform/StatusArea.h"
#include "platform/StatusNotifierHost.h"

#include <optional>
#include <utility>

namespace {

/// How a desktop shows a status item.
enum class Display {
    Drawn,    // by itself, as the program describes it
    Embedded, // as the program's own window
};

class DesktopStatusArea final : public StatusArea
{
public:
    DesktopStatusArea();

    bool isAvailable() const override { return m_isAvailable; }

private:
    void follow();
    void chooseDisplay();
    bool hasChosenDisplay() const;

    StatusNotifierHost m_host;
    EmbeddingTray m_tray;
    std::optional<Display> m_display; // the first one there is; Qt keeps to it
    bool m_isAvailable = false;
};

DesktopStatusArea::DesktopStatusArea()
{
    connect(&m_host, &StatusNotifierHost::changed, this, &DesktopStatusArea::follow);
    connect(&m_tray, &EmbeddingTray::changed, this, &DesktopStatusArea::follow, Qt::QueuedConnection); // after Qt
    follow();
}

void DesktopStatusArea::follow()
{
    if (!m_display)
        chooseDisplay();
    const bool wasAvailable = std::exchange(m_isAvailable, hasChosenDisplay());
    if (m_isAvailable != wasAvailable)
        emit changed();
}

/// As Qt does: it prefers a host, so that a tray has to wait until there is known to be none.
void DesktopStatusArea::chooseDisplay()
{
    if (m_host.isRegistered() == true)
        m_display = Display::Drawn;
    else if (m_host.isRegistered() == false && m_tray.isThere())
        m_display = Display::Embedded;
}

bool DesktopStatusArea::hasChosenDisplay() const
{
    if (m_display == Display::Drawn)
        return m_host.isRegistered() == true;
    return m_display == Display::Embedded && m_tray.isThere();
}

} // namespace

std::unique_ptr<StatusArea> desktopStatusArea()
{
    return std::make_unique<DesktopStatusArea>();
}
