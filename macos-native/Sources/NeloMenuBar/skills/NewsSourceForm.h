#pragma once

#include <QWidget>

class PopUpButton;
class QLineEdit;
struct NewNewsSource;

/// The form in which the user describes a new source of news.
class NewsSourceForm final : public QWidget
{
    Q_OBJECT

public:
    explicit NewsSourceForm(QWidget* parent = nullptr);

    /// The source as it is described now.
    NewNewsSource source() const;

private:
    PopUpButton* m_typePopup; // these are children of this
    QLineEdit* m_idField;
    QLineEdit* m_nameField;
    QLineEdit* m_urlField;
    PopUpButton* m_enabledPopup;
};
