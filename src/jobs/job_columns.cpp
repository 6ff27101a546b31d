#include "jobs/job_columns.h"

#include <QWidget>

#include <algorithm>

namespace CvJobs {

std::array<JobColumns::Span, JobColumns::Count> JobColumns::spans(int width) const
{
    // Columns whose minimum exceeds an equal share of what is left keep their minimum; the others
    // share the rest alike, the odd pixels going to the leftmost of them.
    std::array<bool, Count> fixed{};
    int available = std::max(0, width - (Count - 1) * Spacing);
    int flexible = Count;
    for (bool settled = false; !settled && flexible > 0;) {
        settled = true;
        const int share = available / flexible;
        for (int column = 0; column < Count; ++column) {
            if (!fixed[column] && minimum(column) > share) {
                fixed[column] = true;
                available -= minimum(column);
                --flexible;
                settled = false;
            }
        }
    }
    available = std::max(0, available);
    std::array<Span, Count> result;
    int x = 0, flexibleSeen = 0;
    for (int column = 0; column < Count; ++column) {
        int w = minimum(column);
        if (!fixed[column]) {
            w = available / flexible + (flexibleSeen < available % flexible ? 1 : 0);
            ++flexibleSeen;
        }
        result[column] = {x, w};
        x += w + Spacing;
    }
    return result;
}

int JobColumns::minimumWidth() const
{
    int total = (Count - 1) * Spacing;
    for (int column = 0; column < Count; ++column)
        total += minimum(column);
    return total;
}

bool JobColumns::setMinimum(int column, int pixels)
{
    if (m_minimum[column] == pixels)
        return false;
    m_minimum[column] = pixels;
    return true;
}

JobRowLayout::JobRowLayout(std::shared_ptr<const JobColumns> columns, QWidget* parent)
    : QLayout(parent)
    , m_columns(std::move(columns))
{
    setContentsMargins(0, 0, 0, 0);
}

JobRowLayout::~JobRowLayout()
{
    qDeleteAll(m_items);
}

void JobRowLayout::addItem(QLayoutItem* item)
{
    m_items.append(item);
}

QLayoutItem* JobRowLayout::itemAt(int index) const
{
    return m_items.value(index);
}

QLayoutItem* JobRowLayout::takeAt(int index)
{
    return index >= 0 && index < m_items.size() ? m_items.takeAt(index) : nullptr;
}

int JobRowLayout::count() const
{
    return m_items.size();
}

QSize JobRowLayout::minimumSize() const
{
    const QMargins margins = contentsMargins();
    return {m_columns->minimumWidth() + margins.left() + margins.right(), margins.top() + margins.bottom()};
}

QSize JobRowLayout::sizeHint() const
{
    const QMargins margins = contentsMargins();
    int height = 0;
    for (QLayoutItem* item : m_items)
        height = std::max(height, item->sizeHint().height());
    return {m_columns->minimumWidth() + margins.left() + margins.right(), height + margins.top() + margins.bottom()};
}

int JobRowLayout::heightForWidth(int width) const
{
    if (width == m_cachedWidth)
        return m_cachedHeight;
    const QMargins margins = contentsMargins();
    const auto spans = m_columns->spans(width - margins.left() - margins.right());
    int height = 0;
    for (int i = 0; i < m_items.size() && i < JobColumns::Count; ++i) {
        QLayoutItem* item = m_items[i];
        if (item->isEmpty())
            continue;
        const int cellHeight =
            item->hasHeightForWidth() ? item->heightForWidth(spans[i].width) : item->sizeHint().height();
        height = std::max({height, cellHeight, item->minimumSize().height()});
    }
    m_cachedWidth = width;
    m_cachedHeight = height + margins.top() + margins.bottom();
    return m_cachedHeight;
}

void JobRowLayout::invalidate()
{
    const QRect laid = geometry();
    const int laidHeight = m_cachedWidth == laid.width() ? m_cachedHeight : -1;
    m_cachedWidth = -1;
    // A cell whose content changed without changing the row's height or the columns leaves every
    // cell where it is: laying out the row, and with it the whole list, again would change nothing.
    if (laidHeight >= 0 && laidHeight == laid.height() && m_laidSpans == spansFor(laid) &&
        heightForWidth(laid.width()) == laidHeight)
        return;
    QLayout::invalidate();
}

std::array<JobColumns::Span, JobColumns::Count> JobRowLayout::spansFor(const QRect& rect) const
{
    return m_columns->spans(rect.marginsRemoved(contentsMargins()).width());
}

void JobRowLayout::setGeometry(const QRect& rect)
{
    QLayout::setGeometry(rect);
    const QRect area = rect.marginsRemoved(contentsMargins());
    const auto spans = spansFor(rect);
    m_laidSpans = spans;
    for (int i = 0; i < m_items.size() && i < JobColumns::Count; ++i)
        m_items[i]->setGeometry(QRect(area.x() + spans[i].x, area.y(), spans[i].width, area.height()));
}

} // namespace CvJobs
