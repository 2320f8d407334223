#include "shell/ConsoleTabController.h"

#include "agents/AgentsViewController.h"
#include "models/RuntimeViewController.h"
#include "settings/SettingsViewController.h"
#include "shell/primitives/PlaceholderInfoController.h"
#include "skills/SkillsViewController.h"
#include "ui/Colors.h"
#include "ui/Labels.h"

#include <QAccessibleWidget>
#include <QLabel>
#include <QStackedWidget>
#include <QTabWidget>
#include <QVBoxLayout>

namespace {

QTabWidget* makeTabs(QWidget* parent)
{
    const QString tovani = QStringLiteral("Tovani");
    const QString tovaniBody = QStringLiteral(
        "Manage per-agent knowledge and memory sources (datasets, indexes, versions). This tab is kept as a structural "
        "placeholder and will host indexing tasks and status monitoring next.");

    auto* tabs = new QTabWidget(parent);
    tabs->setObjectName(QStringLiteral("tabView"));
    tabs->setDocumentMode(true);
    // With the role that Qt gives them, a screen reader says "layered pane" on each page.
    auto* pages = tabs->findChild<QStackedWidget*>();
    QAccessible::registerAccessibleInterface(new QAccessibleWidget(pages, QAccessible::Pane));
    const auto add = [tabs](const QString& label, ViewController* controller) {
        controller->loadViewIfNeeded(); // before it is in a window: in a window that is not active it would not refresh
        tabs->addTab(controller, label);
    };
    add(QStringLiteral("Agents"), new AgentsViewController);
    add(QStringLiteral("Runtime"), new RuntimeViewController);
    add(tovani, new PlaceholderInfoController(tovani, tovaniBody));
    add(QStringLiteral("Skills"), new SkillsViewController);
    add(QStringLiteral("Settings"), new SettingsViewController);
    return tabs;
}

} // namespace

ConsoleTabController::ConsoleTabController(QWidget* parent) : ViewController(parent)
{}

void ConsoleTabController::loadView()
{
    setPalette(Colors::lightAppearance(Colors::white(0.97)));

    QLabel* banner = makeSupportLine(13, this);
    banner->setObjectName(QStringLiteral("banner"));
    auto* bannerRow = new QHBoxLayout;
    bannerRow->setContentsMargins(20, 12, 20, 0);
    bannerRow->addWidget(banner);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(10);
    column->addLayout(bannerRow);
    QTabWidget* tabs = makeTabs(this);
    column->addWidget(tabs, 1);
    tabs->setFocus(); // otherwise the banner's link, which is first in the tab order, would have the focus
}
