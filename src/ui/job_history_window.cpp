#include "ui/job_history_window.h"

#include "build_config.h"
#include "journal/journal_database.h"
#include "journal/journal_report.h"
#include "ui/job_history_model.h"
#include "widgets/folder_dialog.h"
#include "widgets/message_box.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSaveFile>
#include <QScreen>
#include <QSysInfo>
#include <QTableView>
#include <QVBoxLayout>

namespace Corvel {

namespace {

const char* const AllStatuses = "All statuses";
const char* const AllTypes = "All types";
constexpr int PreferredWidth = 1100;
constexpr int PreferredHeight = 700;

bool writeText(const QString& path, const QString& text)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text))
        return false;
    file.write(text.toUtf8());
    return file.commit();
}

} // namespace

JobHistoryWindow::JobHistoryWindow(const CorvelWidgets::IconFont& iconFont, const QString& journalPath, QWidget* parent)
    : CustomBarWindow(iconFont, parent)
    , m_path(journalPath)
    , m_model(new JobHistoryModel(this))
    , m_notes(new QLabel(this))
    , m_text(new QLineEdit(this))
    , m_status(new QComboBox(this))
    , m_type(new QComboBox(this))
    , m_list(new QTableView(this))
    , m_timeline(new QPlainTextEdit(this))
    , m_copy(new QPushButton(QStringLiteral("Copy report"), this))
    , m_save(new QPushButton(QStringLiteral("Save report..."), this))
    , m_export(new QPushButton(QStringLiteral("Export CSV"), this))
{
    setObjectName("job_history_window");
    setTitle(QStringLiteral("Job History"));

    m_notes->setObjectName("job_history_notes");
    m_notes->setWordWrap(true);
    m_notes->setTextFormat(Qt::PlainText);
    m_notes->hide();

    m_text->setObjectName("job_history_filter");
    m_text->setPlaceholderText(QStringLiteral("Filter by client, device, job..."));
    m_text->setClearButtonEnabled(true);
    m_text->setAccessibleName(QStringLiteral("Filter"));
    m_status->setObjectName("job_history_status");
    m_status->setAccessibleName(QStringLiteral("Status"));
    m_status->addItem(QString::fromLatin1(AllStatuses));
    m_status->addItems(CorvelJournal::statusNames());
    m_type->setObjectName("job_history_type");
    m_type->setAccessibleName(QStringLiteral("Type"));
    m_type->addItem(QString::fromLatin1(AllTypes));
    m_type->addItems(CorvelJournal::typeNames());

    m_list->setObjectName("job_history_list");
    m_list->setModel(m_model);
    m_list->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->setAlternatingRowColors(true);
    m_list->setWordWrap(false);
    m_list->verticalHeader()->hide();
    // Fixed heights and widths: measuring 2,000 rows on every keystroke would be the slow part.
    m_list->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_list->verticalHeader()->setDefaultSectionSize(m_list->fontMetrics().height() + 10);
    m_list->horizontalHeader()->setSectionResizeMode(QHeaderView::Interactive);
    m_list->horizontalHeader()->setStretchLastSection(true);
    const int widths[] = {110, 170, 130, 150, 130, 140, 90};
    for (int column = 0; column < static_cast<int>(std::size(widths)); ++column)
        m_list->setColumnWidth(column, widths[column]);

    m_timeline->setObjectName("job_history_timeline");
    m_timeline->setReadOnly(true);
    m_timeline->setAccessibleName(QStringLiteral("Timeline"));
    m_timeline->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_timeline->setPlaceholderText(QStringLiteral("Choose a job to see its timeline."));

    closeButton()->setAutoDefault(false);
    for (QPushButton* button : {m_copy, m_save, m_export}) {
        button->setObjectName("button_secondary");
        button->setAccessibleName(button->text());
        button->setAutoDefault(false);
        button->setCursor(Qt::PointingHandCursor);
    }

    auto* filters = new QHBoxLayout;
    filters->addWidget(m_text, 1);
    filters->addWidget(m_status);
    filters->addWidget(m_type);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_copy);
    buttons->addWidget(m_save);
    buttons->addStretch(1);
    buttons->addWidget(m_export);

    auto* body = new QVBoxLayout;
    body->setContentsMargins(16, 12, 16, 16);
    body->setSpacing(8);
    body->addWidget(m_notes);
    body->addLayout(filters);
    body->addWidget(m_list, 3);
    body->addWidget(m_timeline, 2);
    body->addLayout(buttons);
    contentLayout()->addLayout(body);

    connect(m_text, &QLineEdit::textChanged, this, &JobHistoryWindow::applyFilter);
    connect(m_status, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &JobHistoryWindow::applyFilter);
    connect(m_type, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &JobHistoryWindow::applyFilter);
    connect(m_list->selectionModel(), &QItemSelectionModel::currentRowChanged, this, &JobHistoryWindow::showSelected);
    connect(m_list, &QAbstractItemView::activated, this, [this] { m_timeline->setFocus(); });
    connect(m_copy, &QPushButton::clicked, this, &JobHistoryWindow::copyReport);
    connect(m_save, &QPushButton::clicked, this, &JobHistoryWindow::saveReport);
    connect(m_export, &QPushButton::clicked, this, &JobHistoryWindow::exportCsv);

    setTabOrder(m_text, m_status);
    setTabOrder(m_status, m_type);
    setTabOrder(m_type, m_list);
    setTabOrder(m_list, m_timeline);
    setTabOrder(m_timeline, m_copy);
    setTabOrder(m_copy, m_save);
    setTabOrder(m_save, m_export);
    setTabOrder(m_export, closeButton());

    QSize size(PreferredWidth, PreferredHeight);
    if (const QScreen* screen = parent ? parent->screen() : QGuiApplication::primaryScreen())
        size = size.boundedTo(screen->availableGeometry().size() * 0.92);
    resize(size);

    reload();
    m_list->setFocus();
}

JobHistoryWindow::~JobHistoryWindow() = default;

void JobHistoryWindow::keyPressEvent(QKeyEvent* event)
{
    // The list passes Return on after opening a job; the dialog would take it for its close button.
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (enter && !qobject_cast<QPushButton*>(focusWidget())) {
        event->accept();
        return;
    }
    CustomBarWindow::keyPressEvent(event);
}

void JobHistoryWindow::reload()
{
    m_db = std::make_unique<CorvelJournal::JournalDatabase>();
    QString error;
    QStringList notes;
    if (m_db->openForReading(m_path, &error)) {
        m_model->setRecords(m_db->records());
        for (const CorvelJournal::JournalNote& note : m_db->notes())
            notes << note.text;
    } else {
        m_model->setRecords({});
        notes << error;
    }
    m_notes->setText(notes.join('\n'));
    m_notes->setVisible(!notes.isEmpty());
    if (m_model->rowCount() > 0)
        m_list->selectRow(0);
    showSelected();
}

void JobHistoryWindow::applyFilter()
{
    const QString current = m_model->record(m_list->currentIndex().row())
                                ? m_model->record(m_list->currentIndex().row())->job.id
                                : QString();
    m_model->setFilter(m_status->currentIndex() > 0 ? m_status->currentText() : QString(),
                       m_type->currentIndex() > 0 ? m_type->currentText() : QString(), m_text->text());
    int row = 0;
    for (int i = 0; i < m_model->rowCount() && !current.isEmpty(); ++i) {
        if (m_model->record(i)->job.id == current) {
            row = i;
            break;
        }
    }
    if (m_model->rowCount() > 0)
        m_list->selectRow(row);
    showSelected();
}

void JobHistoryWindow::showSelected()
{
    const CorvelJournal::JournalRecord* record = m_model->record(m_list->currentIndex().row());
    m_copy->setEnabled(record);
    m_save->setEnabled(record);
    m_export->setEnabled(m_model->rowCount() > 0);
    if (!record) {
        m_timeline->clear();
        return;
    }
    QString text;
    for (const CorvelJournal::TimelineEntry& entry : m_db->timeline(record->job.id))
        text += CorvelJournal::timeText(entry.atMs, 0) + QStringLiteral("  ") + CorvelJournal::entryText(entry) + '\n';
    m_timeline->setPlainText(text);
}

QString JobHistoryWindow::selectedReport() const
{
    const CorvelJournal::JournalRecord* record = m_model->record(m_list->currentIndex().row());
    if (!record)
        return {};
    return CorvelJournal::reportText(*record, m_db->timeline(record->job.id), QStringLiteral(CORVEL_VERSION),
                                     QSysInfo::machineHostName());
}

void JobHistoryWindow::copyReport()
{
    const QString report = selectedReport();
    if (!report.isEmpty())
        QApplication::clipboard()->setText(report);
}

void JobHistoryWindow::saveReport()
{
    const CorvelJournal::JournalRecord* record = m_model->record(m_list->currentIndex().row());
    if (!record)
        return;
    const QString path = CorvelWidgets::FolderDialog::getSaveFileName(
        this, QStringLiteral("Save report"),
        QDir::homePath() + QStringLiteral("/corvel-job-%1.txt").arg(record->job.id),
        QStringLiteral("Text files (*.txt)"));
    if (!path.isEmpty() && !writeText(path, selectedReport()))
        CorvelWidgets::MessageBox::critical(this, QStringLiteral("Job History"),
                                            QStringLiteral("Failed to save the report to %1").arg(path));
}

void JobHistoryWindow::exportCsv()
{
    const QString path = CorvelWidgets::FolderDialog::getSaveFileName(
        this, QStringLiteral("Export CSV"), QDir::homePath() + QStringLiteral("/corvel-jobs.csv"),
        QStringLiteral("CSV files (*.csv)"));
    if (!path.isEmpty() && !writeText(path, CorvelJournal::csvText(m_model->shownRecords())))
        CorvelWidgets::MessageBox::critical(this, QStringLiteral("Job History"),
                                            QStringLiteral("Failed to export the list to %1").arg(path));
}

} // namespace Corvel
