#pragma once

#include <QObject>
#include <QString>

#include <functional>

class VerbatimTextEdit;
class NeloWindow;

/// A window in which a configuration file of any content is edited as plain text. It owns itself: closing the window
/// deletes the window and this object, and discards edits that were not saved.
class ConfigEditorWindowController final : public QObject
{
    Q_OBJECT

public:
    /// Called with true after each save.
    using OnSave = std::function<void(bool isSaved)>;

    /// Builds a window with the title `title` and the text of the file at `path`. The caller shows it.
    ConfigEditorWindowController(const QString& title, QString path, OnSave onSave);

    NeloWindow* window() const { return m_window; }
    const OnSave& onSave() const { return m_onSave; }

    /// Shows the present text of the file. Shows no text when the file cannot be read or is not UTF-8. Discards unsaved
    /// edits.
    void reloadFile();
    /// Makes a backup of the file, replaces the file by the text, calls `onSave` and closes the window. When the file
    /// cannot be replaced, shows an alert and leaves the window open.
    void saveFile();

private:
    void setupUI();

    QString m_path;
    OnSave m_onSave;
    NeloWindow* m_window;                   // the parent of this
    VerbatimTextEdit* m_textView = nullptr; // child of the window
};
