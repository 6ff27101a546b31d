#pragma once

#include <QLayout>

#include <algorithm>
#include <array>
#include <memory>

namespace CvJobs {

// Where the eight columns of the jobs table sit at a given width: equal shares, except that no
// column is narrower than the widest minimum among its cells. The header and every row lay out from
// one shared instance, so captions and cells line up and stay put across refreshes.
class JobColumns {
public:
    static constexpr int Count = 8;
    static constexpr int Spacing = 6;

    struct Span {
        int x = 0;
        int width = 0;
        bool operator==(const Span& other) const { return x == other.x && width == other.width; }
    };

    std::array<Span, Count> spans(int width) const;
    int minimumWidth() const;
    int minimum(int column) const { return std::max(m_minimum[column], m_floor[column]); }
    // The widest minimum among the rows' cells; true when it changed.
    bool setMinimum(int column, int pixels);
    // A minimum of the column's own, whatever the rows hold (its caption's longest word).
    void setFloor(int column, int pixels) { m_floor[column] = pixels; }

private:
    std::array<int, Count> m_minimum{};
    std::array<int, Count> m_floor{};
};

// Lays out one row of cells (or the header's captions) on the shared columns; each cell fills its
// column and the row is as tall as its tallest cell at that width.
class JobRowLayout : public QLayout {
public:
    JobRowLayout(std::shared_ptr<const JobColumns> columns, QWidget* parent);
    ~JobRowLayout() override;

    void addItem(QLayoutItem* item) override;
    QLayoutItem* itemAt(int index) const override;
    QLayoutItem* takeAt(int index) override;
    int count() const override;
    QSize sizeHint() const override;
    QSize minimumSize() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    void invalidate() override;
    void setGeometry(const QRect& rect) override;

private:
    std::array<JobColumns::Span, JobColumns::Count> spansFor(const QRect& rect) const;

    std::shared_ptr<const JobColumns> m_columns;
    QList<QLayoutItem*> m_items;
    mutable int m_cachedWidth = -1;
    mutable int m_cachedHeight = 0;
    std::array<JobColumns::Span, JobColumns::Count> m_laidSpans{};
};

} // namespace CvJobs
