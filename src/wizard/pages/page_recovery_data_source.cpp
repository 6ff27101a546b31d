#include "wizard/pages/page_recovery_data_source.h"

#include "core/palette.h"
#include "widgets/glyph.h"
#include "widgets/icon_font.h"
#include "widgets/loader_widget.h"
#include "widgets/styled_combobox.h"
#include "wizard/page_flow.h"
#include "wizard/pages/page_parts.h"

#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QScrollBar>
#include <QVBoxLayout>

namespace Corvel {

using namespace VuskAPI;

PageRecoveryDataSource::PageRecoveryDataSource(RecoveryWizardValues* values, const PageContext& context,
                                               const CorvelWidgets::IconFont& iconFont, QWidget* parent)
    : RecoveryWizardPage(iconFont, "Recovery Target", parent)
    , m_model(*values, context)
    , m_search(new QLineEdit)
    , m_clientList(new QListView)
    , m_dataSources(new CorvelWidgets::StyledCombobox(nullptr, false))
    , m_devices(new CorvelWidgets::StyledCombobox(nullptr, false))
    , m_loader(new CorvelWidgets::LoaderWidget)
    , m_next(PageParts::next(iconFont))
{
    QLabel* clientLabel = PageParts::label("CLIENT:", "field_label_rec_point");
    m_search->setAccessibleName("CLIENT:");
    m_search->addAction(iconFont.icon(CorvelWidgets::Glyph::Search,
                                      {{"color", Corvel::Palette::Grey}, {"color-active", Corvel::Palette::Primary}}),
                        QLineEdit::LeadingPosition);
    QLabel* resultsLabel = PageParts::label("RESULTS:", "field_label_rec_point");
    m_clientList->setObjectName("new_job_wizard_list");
    m_clientList->setAccessibleName("RESULTS:");
    m_clientList->setUniformItemSizes(true);
    m_clientList->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_clientList->setModel(m_model.clients());
    m_clientList->verticalScrollBar()->setObjectName("new_job_wizard_list_scroll_bar");
    m_clientList->horizontalScrollBar()->setObjectName("new_job_wizard_list_scroll_bar");
    auto* separator = new QWidget;
    separator->setObjectName("client_selection_separator");
    separator->setFixedHeight(1);
    m_dataSources->setAccessibleName("DATA SOURCE:");
    m_devices->setAccessibleName("PROTECTED SYSTEM:");
    m_dataSources->setEnabled(false);
    m_devices->setEnabled(false);
    QPushButton* back = PageParts::back(iconFont);
    connectBack(back);
    connectNext(m_next, PageFlow::AfterDataSource);
    m_next->setEnabled(false);

    QVBoxLayout* layout = contentLayout();
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSizeConstraint(QLayout::SetMinAndMaxSize);
    layout->addWidget(PageParts::label("<b>What Do You Want To Restore?</b>", "sub_header"));
    const bool partner = context.session.userData().role == TmxAuth::UserRole::Partner;
    for (QWidget* widget : {static_cast<QWidget*>(clientLabel), static_cast<QWidget*>(m_search),
                            static_cast<QWidget*>(resultsLabel), static_cast<QWidget*>(m_clientList), separator}) {
        layout->addWidget(widget);
        widget->setVisible(partner);
    }
    layout->addWidget(PageParts::label("DATA SOURCE:", "field_label_rec_point"));
    layout->addWidget(m_dataSources);
    layout->addWidget(PageParts::label("PROTECTED SYSTEM:", "field_label_rec_point"));
    layout->addWidget(m_devices);
    layout->addLayout(PageParts::footer({m_loader}, {back, m_next}));
    finishLayout(true);

    PageParts::bindLoader(&m_model, &DataSourceModel::loading, m_loader);
    connect(&m_model, &DataSourceModel::clientsArrived, this, [this] {
        m_search->setPlaceholderText("Type to search...");
        m_search->setEnabled(true);
        search(m_search->text());
    });
    connect(&m_model, &DataSourceModel::dataSourcesChanged, this, [this](bool enabled) {
        QStringList names;
        for (const ClientDataSource& source : m_model.dataSources())
            names << source.name;
        refill(m_dataSources, names, enabled);
    });
    connect(&m_model, &DataSourceModel::devicesChanged, this, [this](bool enabled) {
        QStringList names;
        for (const ProtectedDevice& device : m_model.devices())
            names << device.name;
        refill(m_devices, names, enabled);
    });
    connect(&m_model, &DataSourceModel::completeChanged, m_next, &QWidget::setEnabled);
    connect(m_search, &QLineEdit::textChanged, this, &PageRecoveryDataSource::search);
    connect(m_clientList->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) {
                if (!m_filtering)
                    m_model.chooseClient(current);
            });
    connect(m_dataSources, qOverload<int>(&QComboBox::currentIndexChanged), &m_model,
            &DataSourceModel::chooseDataSource);
    connect(m_devices, qOverload<int>(&QComboBox::currentIndexChanged), &m_model, &DataSourceModel::chooseDevice);

    if (partner) {
        m_search->setPlaceholderText("Downloading clients");
        m_search->setEnabled(false);
    }
    m_model.start();
}

void PageRecoveryDataSource::search(const QString& text)
{
    // Filtering keeps the chosen client chosen, listed or not.
    m_filtering = true;
    m_model.setSearch(text);
    const int row = m_model.chosenClientRow();
    m_clientList->setCurrentIndex(row < 0 ? QModelIndex() : m_model.clients()->index(row, 0));
    m_filtering = false;
}

void PageRecoveryDataSource::refill(CorvelWidgets::StyledCombobox* combo, const QStringList& names, bool enabled)
{
    combo->blockSignals(true);
    combo->clear();
    combo->blockSignals(false);
    // The first entry is chosen as it is added, which asks for the level below.
    combo->addItems(names);
    combo->setEnabled(enabled);
}

} // namespace Corvel
