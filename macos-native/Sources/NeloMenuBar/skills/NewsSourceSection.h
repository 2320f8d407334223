#pragma once

#include "base/Json.h"

#include <QWidget>

#include <optional>

class Label;
class PopUpButton;

/// The news sources that the skill "social-media-alert" watches: lists them, and adds one. They are the same for all
/// agents and ecosystems.
class NewsSourceSection final : public QWidget
{
    Q_OBJECT

public:
    explicit NewsSourceSection(QWidget* parent = nullptr);

    /// Returns whether the section is shown for that skill.
    bool isSocialMediaAlert() const { return m_isSocialMediaAlert; }

    /// Shows the section if `skill` is that skill, and hides it otherwise.
    void showFor(const std::optional<Json>& skill);
    /// Hides the section and clears the number of sources.
    void reset();
    /// Loads the sources from the backend. After a failure the list is empty.
    void reloadSources();
    /// Asks the user for a source, and adds it through the backend.
    void addSource();

signals:
    void statusChanged(const QString& status);

private:
    PopUpButton* m_sourcePopup;  // child of this
    Label* m_sourceSummaryLabel; // child of this
    bool m_isSocialMediaAlert = false;
};
