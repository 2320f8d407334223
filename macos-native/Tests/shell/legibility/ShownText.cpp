#include "shell/legibility/ShownText.h"

#include "chat/transcript/TranscriptView.h"
#include "ui/Labels.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStyle>
#include <QStyleOptionButton>
#include <QStyleOptionComboBox>
#include <QStyleOptionFrame>
#include <QStyleOptionGroupBox>
#include <QTabBar>
#include <QTableView>
#include <QTextBlock>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// Returns the size of `text` on one line in the widget's font. Other fonts have higher lines, but their letters are
/// not higher.
QSize extent(const QWidget& widget, const QString& text)
{
    return {widget.fontMetrics().horizontalAdvance(text), widget.fontMetrics().height()};
}

/// Returns whether the titles of `popup` may have any length. They are elided, and whole in the list that opens.
bool hasTitlesFromOutside(const QComboBox& popup)
{
    return popup.objectName() == u"agentPopup"_s || popup.objectName() == u"sourcePopup"_s;
}

/// Collects the texts of one window.
class Collector final
{
public:
    explicit Collector(QWidget& window) : m_window(window) {}

    void visit(QWidget* widget)
    {
        if (auto* label = qobject_cast<QLabel*>(widget))
            visitLabel(*label);
        else if (auto* box = qobject_cast<QCheckBox*>(widget))
            visitButton(*box, QStyle::SE_CheckBoxContents);
        else if (auto* button = qobject_cast<QPushButton*>(widget))
            visitButton(*button, QStyle::SE_PushButtonContents);
        else if (auto* popup = qobject_cast<QComboBox*>(widget))
            visitPopup(*popup);
        else if (auto* field = qobject_cast<QLineEdit*>(widget))
            visitField(*field);
        else if (auto* group = qobject_cast<QGroupBox*>(widget))
            visitGroup(*group);
        else if (auto* tabs = qobject_cast<QTabBar*>(widget))
            visitTabs(*tabs);
        else if (auto* table = qobject_cast<QTableView*>(widget))
            visitTable(*table);
        else if (auto* edit = qobject_cast<QPlainTextEdit*>(widget))
            visitEdit(*edit);
        else if (auto* transcript = qobject_cast<TranscriptView*>(widget))
            visitTranscript(*transcript);
        else if (auto* menu = qobject_cast<QMenu*>(widget))
            visitMenu(*menu);
    }

    std::vector<ShownText> texts;

private:
    void add(const QString& text, const QWidget& widget, QRect room, QSize needed)
    {
        if (text.trimmed().isEmpty())
            return;
        const QString place = QLatin1String(widget.metaObject()->className()) + u' ' + widget.objectName();
        room.moveTopLeft(widget.mapTo(&m_window, room.topLeft()));
        QRect inSight = room & m_window.rect();
        for (const QWidget* parent = &widget; parent != &m_window; parent = parent->parentWidget())
            inSight &= QRect(parent->mapTo(&m_window, QPoint()), parent->size());
        texts.push_back(
            {.text = text, .place = place, .font = widget.font(), .room = room, .inSight = inSight, .needed = needed});
    }

    void visitLabel(QLabel& label)
    {
        const bool isOneLine = qobject_cast<Label*>(&label) || !label.wordWrap();
        const QRect room = label.contentsRect();
        QSize needed = isOneLine ? label.sizeHint() : QSize(room.width(), label.heightForWidth(room.width()));
        if (label.sizePolicy().horizontalPolicy() == QSizePolicy::Ignored)
            needed.setWidth(0); // it is elided, and whole in its tool tip
        add(label.text(), label, room, needed);
    }

    template <class Button> void visitButton(Button& button, QStyle::SubElement contents)
    {
        QStyleOptionButton option;
        option.initFrom(&button);
        option.text = button.text();
        add(button.text(), button, button.style()->subElementRect(contents, &option, &button),
            button.fontMetrics().size(Qt::TextShowMnemonic, button.text()));
    }

    void visitPopup(QComboBox& popup)
    {
        QStyleOptionComboBox option;
        option.initFrom(&popup);
        const QRect room =
            popup.style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, &popup);
        for (int item = 0; item < popup.count(); ++item) { // each of them may be the selected one
            QSize needed = extent(popup, popup.itemText(item));
            if (hasTitlesFromOutside(popup))
                needed.setWidth(0);
            add(popup.itemText(item), popup, room, needed);
        }
    }

    void visitField(QLineEdit& field)
    {
        QStyleOptionFrame option;
        option.initFrom(&field);
        const QRect room = field.style()->subElementRect(QStyle::SE_LineEditContents, &option, &field);
        const bool isEmpty = field.text().isEmpty();
        const QString text = isEmpty ? field.placeholderText() : field.displayText();
        const int width = isEmpty ? field.fontMetrics().horizontalAdvance(text) : 0; // what is typed scrolls
        add(text, field, room, {width, field.fontMetrics().height()});
    }

    void visitGroup(QGroupBox& group)
    {
        QStyleOptionGroupBox option;
        option.initFrom(&group);
        option.text = group.title();
        option.subControls = QStyle::SC_GroupBoxLabel;
        const QRect room =
            group.style()->subControlRect(QStyle::CC_GroupBox, &option, QStyle::SC_GroupBoxLabel, &group);
        add(group.title(), group, room & group.rect(), extent(group, group.title()));
    }

    void visitTabs(QTabBar& tabs)
    {
        for (int tab = 0; tab < tabs.count(); ++tab)
            add(tabs.tabText(tab), tabs, tabs.tabRect(tab) & tabs.rect(), extent(tabs, tabs.tabText(tab)));
    }

    void visitTable(QTableView& table)
    {
        const QHeaderView& header = *table.horizontalHeader();
        const QAbstractItemModel& model = *table.model();
        for (int column = 0; column < model.columnCount(); ++column) {
            const int left = header.sectionViewportPosition(column);
            const QRect section(left, 0, header.sectionSize(column), header.height());
            if (header.isVisible())
                add(model.headerData(column, Qt::Horizontal).toString(), header, section,
                    {header.sectionSizeHint(column), header.fontMetrics().height()});
            for (int row = 0; row < model.rowCount(); ++row) {
                const QModelIndex cell = model.index(row, column);
                add(cell.data().toString(), *table.viewport(), table.visualRect(cell),
                    {0, table.fontMetrics().height()}); // a longer text is elided, and whole in its tool tip
            }
        }
    }

    void visitEdit(QPlainTextEdit& edit)
    {
        add(edit.toPlainText(), *edit.viewport(), edit.viewport()->rect(), {0, edit.fontMetrics().height()});
    }

    void visitTranscript(TranscriptView& transcript)
    {
        for (int index = 0; index < transcript.count(); ++index) {
            const QRect bubble = transcript.bubbleRect(index);
            add(transcript.bubble(index).text(), *transcript.viewport(), bubble.adjusted(18, 14, -18, -14), {});
            if (transcript.bubble(index).speaker() == Speaker::User)
                texts.back().contrast = 4.1; // the product's own white on blue
            const int speakerHeight = transcript.fontMetrics().height();
            const QRect speaker(bubble.left(), bubble.top() - 6 - speakerHeight, bubble.width(), speakerHeight);
            add(nameOf(transcript.bubble(index).speaker()), *transcript.viewport(), speaker, {});
        }
    }

    void visitMenu(QMenu& menu)
    {
        for (QAction* action : menu.actions())
            add(action->text(), menu, menu.actionGeometry(action), extent(menu, action->text()));
    }

    QWidget& m_window;
};

bool isShown(const QWidget& widget)
{
    return widget.isVisible() && widget.isEnabled();
}

} // namespace

std::vector<ShownText> textsShownBy(QWidget& window)
{
    Collector collector(window);
    collector.visit(&window);
    for (QWidget* widget : window.findChildren<QWidget*>()) {
        if (isShown(*widget) && widget->window() == &window)
            collector.visit(widget);
    }
    return collector.texts;
}
