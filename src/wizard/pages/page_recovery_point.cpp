#include "wizard/pages/page_recovery_point.h"

#include "widgets/date_line_edit_with_buttons_days_move.h"
#include "widgets/loader_widget.h"
#include "widgets/message_box.h"
#include "wizard/page_flow.h"
#include "wizard/pages/page_parts.h"
#include "wizard/recovery_wizard_values.h"
#include "wizard/restore_points.h"
#include "wizard/wizard_texts.h"

#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QScrollBar>
#include <QVBoxLayout>

namespace Corvel {

namespace {

// The item data role that carries the restore point's full name. (Role 1 is the decoration role:
// a text there makes the view reserve an icon's room in front of every time.)
constexpr int NameRole = Qt::UserRole;

} // namespace

PageRecoveryPoint::PageRecoveryPoint(RecoveryWizardValues* values, const PageContext& context,
                                     const CorvelWidgets::IconFont& iconFont, QWidget* parent)
    : RecoveryWizardPage(iconFont, "Recovery Point", parent)
    , m_values(values)
    , m_model(*values, context)
    , m_datePicker(new CorvelWidgets::DateLineEditWithButtonsDaysMove("mm/dd/yyyy", iconFont))
    , m_timeList(new QListWidget)
    , m_loader(new CorvelWidgets::LoaderWidget)
    , m_next(PageParts::next(iconFont))
{
    m_timeList->setObjectName("new_job_wizard_list");
    m_timeList->setAccessibleName("SNAPSHOT TIME:");
    m_timeList->verticalScrollBar()->setObjectName("new_job_wizard_list_scroll_bar");
    m_timeList->horizontalScrollBar()->setObjectName("new_job_wizard_list_scroll_bar");
    m_datePicker->setAccessibleName("SNAPSHOT DATE:");

    QPushButton* back = PageParts::back(iconFont);
    connectBack(back);
    connect(m_next, &QPushButton::clicked, this, [this] {
        if (const auto next = PageFlow::afterRecoveryPoint(m_values->recoveryType))
            emit nextPageRequested(*next);
    });
    m_next->setEnabled(false);

    QVBoxLayout* layout = contentLayout();
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(PageParts::label("<b>Which Snapshot Do You Want to Restore?</b>", "sub_header"));
    layout->addWidget(PageParts::label("SNAPSHOT DATE:", "field_label_rec_point"));
    layout->addWidget(m_datePicker);
    layout->addWidget(PageParts::label("SNAPSHOT TIME:", "field_label_rec_point"));
    layout->addWidget(m_timeList);
    layout->addLayout(PageParts::footer({m_loader}, {back, m_next}));
    finishLayout(true);

    connect(m_datePicker, &CorvelWidgets::DateLineEditWithButtonsDaysMove::dateSelected, this,
            &PageRecoveryPoint::onDateSelected);
    connect(m_timeList, &QListWidget::currentItemChanged, this, [this](QListWidgetItem* item) { onTimeChanged(item); });
    PageParts::bindLoader(&m_model, &RestorePointsModel::loading, m_loader);
    connect(&m_model, &RestorePointsModel::failed, this, [this] {
        CorvelWidgets::MessageBox::critical(this, WizardTexts::InternalErrorTitle, WizardTexts::NoRestorePointsRead);
    });
    connect(&m_model, &RestorePointsModel::empty, this, [this] {
        CorvelWidgets::MessageBox::information(this, WizardTexts::RestorePointsTitle, WizardTexts::NoRestorePoints);
    });
    connect(&m_model, &RestorePointsModel::arrived, this, [this](quint64 deviceId) {
        // The operator may have moved on to another device while the service was asked.
        if (deviceId == m_values->deviceId)
            fillDates();
    });
}

void PageRecoveryPoint::onPageShown()
{
    if (!m_model.cached()) {
        clearSelection();
        m_datePicker->setEnabled(false);
        m_model.load();
        return;
    }
    if (m_shownDevice != m_values->deviceId) {
        clearSelection();
        m_model.resetRetries();
        fillDates();
    }
}

void PageRecoveryPoint::clearSelection()
{
    m_timeList->clear();
    m_datePicker->clear();
    m_values->snapshot.clear();
    m_next->setEnabled(false);
}

void PageRecoveryPoint::fillDates()
{
    m_shownDevice = m_values->deviceId;
    const QList<QDate> dates = RestorePoints::availableDates(m_values->restorePointsCache.value(m_values->deviceId));
    m_datePicker->setAvailableDates(dates);
    m_datePicker->setEnabled(true);
    if (!dates.isEmpty())
        m_datePicker->handleSetDate(dates.first());
}

void PageRecoveryPoint::onDateSelected(const QDate& date)
{
    const QStringList names = m_values->restorePointsCache.value(m_values->deviceId);
    m_timeList->clear();
    for (const RestorePoints::TimeEntry& entry : RestorePoints::timesOn(names, date)) {
        auto* item = new QListWidgetItem(entry.text, m_timeList);
        item->setData(NameRole, entry.name);
    }
}

void PageRecoveryPoint::onTimeChanged(QListWidgetItem* item)
{
    m_values->snapshot.clear();
    if (item && item->data(NameRole).isValid())
        m_values->snapshot = item->data(NameRole).toString();
    m_next->setEnabled(!m_values->snapshot.isEmpty());
}

} // namespace Corvel
