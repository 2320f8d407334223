#pragma once

#include "support/Controls.h"
#include "support/ScriptedBackend.h"

#include <QLabel>
#include <QLineEdit>

#include <memory>

/// A tab or a window's content on a scripted backend, and what a person sees and does there. It is built and loaded
/// when it is first asked for, so that a test can say before what the backend answers.
template <typename Controller> class TabFixture
{
public:
    Controller& view()
    {
        if (!m_view) {
            m_view = std::make_unique<Controller>();
            m_view->resize(1000, 640);
        }
        m_view->loadViewIfNeeded();
        return *m_view;
    }
    /// Has the view on the screen and active.
    void show()
    {
        view().show();
        view().activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&view()));
    }
    /// Deletes the view. The next one loads everything anew.
    void discardView() { m_view.reset(); }

    template <typename Control> Control* find(const char* objectName)
    {
        return view().template findChild<Control*>(QString::fromLatin1(objectName));
    }
    QString label(const char* objectName) { return find<QLabel>(objectName)->text(); }
    QString text(const char* field) { return find<QLineEdit>(field)->text(); }
    QString title(const char* popup) { return find<QComboBox>(popup)->currentText(); }
    QString status() { return label("statusLabel"); }

    void choose(const char* popup, const char* title)
    {
        Controls::choose(find<QComboBox>(popup), QString::fromLatin1(title));
    }
    void press(const char* title) { Controls::press(view(), QString::fromLatin1(title)); }

    /// Returns the arguments of the last call of `function`, or null when there was none.
    Json arguments(const std::string& function) const
    {
        Json arguments;
        for (const ScriptedBackend::Call& call : backend.calls()) {
            if (call.function == function)
                arguments = call.args;
        }
        return arguments;
    }

    ScriptedBackend backend;

private:
    std::unique_ptr<Controller> m_view;
};
