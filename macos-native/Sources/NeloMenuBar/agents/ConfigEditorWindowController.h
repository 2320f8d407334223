#pragma once

#include <QObject>
#include <QString>

#include <functional>

class VerbatimTextEdit;
class NeloWindow;

/// A window in which a configuration file is edited as plain text, whatever it holds. It lives by itself: closing it
/// deletes the window and this, and discards what was not saved.
class ConfigEditorWindowController final : public QObject
{
    Q_OBJECT

public:
    /// Is called with true after each save.
    using OnSave = std::function<void(bool isSaved)>;

    /// Builds the window, called `title`, with the text of the file at `path`; showing it is left to the caller.
    ConfigEditorWindowController(const QString& title, QString path, OnSave onSave);

    NeloWindow* window() const { return m_window; }
    const OnSave& onSave() const { return m_onSave; }

    /// Shows what the file holds now, nothing when it cannot be read or is not UTF-8. Unsaved edits are discarded.
    void reloadFile();
    /// Backs the file up, replaces it by the text, tells of it and closes the window; a failure is told in an alert and
    /// leaves the window open.
    void saveFile();

private:
    void setupUI();

    QString m_path;
    OnSave m_onSave;
    NeloWindow* m_window;                   // the parent of this
    VerbatimTextEdit* m_textView = nullptr; // child of the window
};
