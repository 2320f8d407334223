#include "platform/StatusArea.h"

namespace {

class MenuBar final : public StatusArea
{
public:
    bool isAvailable() const override { return true; }
};

} // namespace

std::unique_ptr<StatusArea> desktopStatusArea()
{
    return std::make_unique<MenuBar>();
}
