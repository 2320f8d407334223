#pragma once

#include "base/Json.h"

#include <QWidget>

#include <optional>

class Label;
class PopUpButton;

/// The news sources that the one skill watches: lists them, and adds one. They are the same for every agent and
/// ecosystem.
class NewsSourceSection final : public QWidget
{
    Q_OBJECT

public:
    explicit NewsSourceSection(QWidget* parent = nullptr);

    /// Whether the skill that it was last shown for is the one.
    bool isSocialMediaAlert() const { return m_isSocialMediaAlert; }

    /// Shows the section if `skill` is the one that watches news sources, and hides it otherwise.
    void showFor(const std::optional<Json>& skill);
    /// Hides the section and forgets how many sources there are.
    void reset();
    /// Asks the backend for the sources; a failure shows as none.
    void reloadSources();
    /// Asks the user for a source and has the backend add it.
    void addSource();

signals:
    void statusChanged(const QString& status);

private:
    PopUpButton* m_sourcePopup;  // child of this
    Label* m_sourceSummaryLabel; // child of this
    bool m_isSocialMediaAlert = false;
};
