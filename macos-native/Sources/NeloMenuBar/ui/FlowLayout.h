#pragma once

#include <QLayout>

#include <memory>
#include <vector>

/// A row of controls that continues on another line where the view is too narrow for all of them. Within a line it
/// works like a box layout: items that can shrink do so before the line breaks.
class FlowLayout final : public QLayout
{
    Q_OBJECT

public:
    FlowLayout() = default;
    FlowLayout(const FlowLayout&) = delete;
    FlowLayout& operator=(const FlowLayout&) = delete;
    ~FlowLayout() override;

    void addLayout(QLayout* layout);

    void addItem(QLayoutItem* item) override;
    int count() const override { return static_cast<int>(m_items.size()); }
    QLayoutItem* itemAt(int index) const override;
    QLayoutItem* takeAt(int index) override;
    Qt::Orientations expandingDirections() const override { return {}; }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSize() const override;
    void setGeometry(const QRect& rect) override;

private:
    using Line = std::vector<QLayoutItem*>;

    std::vector<Line> linesWithin(int width) const;
    void placeLine(const Line& line, const QRect& rect) const;
    int spacingsOf(const Line& line) const;

    std::vector<std::unique_ptr<QLayoutItem>> m_items;
};
