#include "wizard/pages/page_recovery_data_source.h"

#include "cloud/cloud_api.h"
#include "session/auth_session.h"
#include "widgets/icon_font.h"
#include "widgets/loader_widget.h"
#include "widgets/styled_combobox.h"
#include "wizard/page_flow.h"
#include "wizard/pages/page_parts.h"
#include "wizard/recovery_wizard_values.h"

#include <QAction>
#include <QDebug>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QVBoxLayout>

namespace Corvel {

using namespace VuskAPI;

namespace {

constexpr int ClientIdRole = Qt::UserRole + 5;
const QString CallName = QStringLiteral("Clients request");

} // namespace

PageRecoveryDataSource::PageRecoveryDataSource(RecoveryWizardValues* values, const PageContext& context,
                                               const CorvelWidgets::IconFont& iconFont, QWidget* parent)
    : RecoveryWizardPage(iconFont, "Recovery Target", parent)
    , m_values(values)
    , m_cloud(context.cloud)
    , m_retry(&context.session, this, context.settings.connectionRetriesNumber(), context.settings.authUrl())
    , m_role(context.session.userData().role)
    , m_dataSources(new CorvelWidgets::StyledCombobox(nullptr, false))
    , m_devices(new CorvelWidgets::StyledCombobox(nullptr, false))
    , m_loader(new CorvelWidgets::LoaderWidget)
    , m_next(PageParts::next(iconFont))
{
    qRegisterMetaType<ClientDataSource>("ClientDataSource");
    qRegisterMetaType<ProtectedDevice>("ProtectedDevice");
    m_retry.setTokenSource(context.tokenSource);

    auto* header = new QLabel("<b>What Do You Want To Restore?</b>");
    header->setObjectName("sub_header");

    QLabel* clientLabel = PageParts::label("CLIENT:", "field_label_rec_point");
    m_search = new QLineEdit;
    m_search->setAccessibleName("CLIENT:");
    m_search->addAction(iconFont.icon(0xE95A, {{"color", "#878C96"}, {"color-active", "#FF6e21"}}),
                        QLineEdit::LeadingPosition);
    QLabel* resultsLabel = PageParts::label("RESULTS:", "field_label_rec_point");
    m_clientList = new QListWidget;
    m_clientList->setObjectName("new_job_wizard_list");
    m_clientList->setAccessibleName("RESULTS:");
    m_clientList->verticalScrollBar()->setObjectName("new_job_wizard_list_scroll_bar");
    m_clientList->horizontalScrollBar()->setObjectName("new_job_wizard_list_scroll_bar");
    auto* separator = new QWidget;
    separator->setObjectName("client_selection_separator");
    separator->setFixedHeight(1);

    m_dataSources->setAccessibleName("DATA SOURCE:");
    m_devices->setAccessibleName("PROTECTED SYSTEM:");
    QPushButton* back = PageParts::back(iconFont);
    connectBack(back);
    connectNext(m_next, PageFlow::AfterDataSource);
    m_next->setEnabled(false);

    auto* buttons = PageParts::footer({m_loader}, {back, m_next});

    QVBoxLayout* layout = contentLayout();
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSizeConstraint(QLayout::SetMinAndMaxSize);
    layout->addWidget(header);
    for (QWidget* widget : {static_cast<QWidget*>(clientLabel), static_cast<QWidget*>(m_search),
                            static_cast<QWidget*>(resultsLabel), static_cast<QWidget*>(m_clientList), separator})
        layout->addWidget(widget);
    layout->addWidget(PageParts::label("DATA SOURCE:", "field_label_rec_point"));
    layout->addWidget(m_dataSources);
    layout->addWidget(PageParts::label("PROTECTED SYSTEM:", "field_label_rec_point"));
    layout->addWidget(m_devices);
    layout->addLayout(buttons);
    finishLayout(true);

    connect(m_search, &QLineEdit::textChanged, this, &PageRecoveryDataSource::filterClients);
    connect(m_clientList, &QListWidget::currentItemChanged, this,
            [this](QListWidgetItem* item) { onClientChanged(item); });
    connect(m_dataSources, qOverload<int>(&QComboBox::currentIndexChanged), this,
            &PageRecoveryDataSource::onDataSourceChanged);
    connect(m_devices, qOverload<int>(&QComboBox::currentIndexChanged), this, &PageRecoveryDataSource::onDeviceChanged);

    const bool partner = m_role == TmxAuth::UserRole::Partner;
    for (QWidget* widget : {static_cast<QWidget*>(clientLabel), static_cast<QWidget*>(m_search),
                            static_cast<QWidget*>(resultsLabel), static_cast<QWidget*>(m_clientList), separator})
        widget->setVisible(partner);

    if (m_role == TmxAuth::UserRole::Client) {
        qInfo().noquote() << "Retrieving client ID";
        m_values->clientId = context.session.userData().clientId;
        qInfo().noquote() << "Retrieving client name";
        m_values->clientName = context.session.userData().username;
        requestDataSources();
    } else if (partner) {
        m_search->setPlaceholderText("Downloading clients");
        m_search->setEnabled(false);
        requestClients();
    }
    m_dataSources->setEnabled(false);
    m_devices->setEnabled(false);
}

void PageRecoveryDataSource::requestClients()
{
    const quint64 generation = ++m_clientsGeneration;
    QPointer<PageRecoveryDataSource> self(this);
    m_retry.run<QList<TmxClient>>(
        CallName,
        [this, self, generation](Callback<QList<TmxClient>> done) {
            m_loader->showLoader("Loading clients");
            m_cloud.getClients([self, generation, done](const Result<QList<TmxClient>>& result) {
                if (!self || generation != self->m_clientsGeneration)
                    return;
                self->m_loader->hideLoader();
                done(result);
            });
        },
        [this](const QList<TmxClient>& clients) {
            m_clients = clients;
            m_search->setPlaceholderText("Type to search...");
            m_search->setEnabled(true);
            filterClients(QString());
        });
}

void PageRecoveryDataSource::requestDataSources()
{
    const quint64 generation = ++m_dataSourcesGeneration;
    const quint64 clientId = m_values->clientId;
    QPointer<PageRecoveryDataSource> self(this);
    m_retry.run<QList<ClientDataSource>>(
        CallName,
        [this, self, generation, clientId](Callback<QList<ClientDataSource>> done) {
            m_loader->showLoader("Loading datasources");
            m_cloud.getDataSources(clientId, [self, generation, done](const Result<QList<ClientDataSource>>& result) {
                if (!self || generation != self->m_dataSourcesGeneration)
                    return;
                self->m_loader->hideLoader();
                done(result);
            });
        },
        [this](const QList<ClientDataSource>& dataSources) {
            for (const ClientDataSource& source : dataSources)
                m_dataSources->addItem(source.name, QVariant::fromValue(source));
            m_dataSources->setEnabled(true);
        });
}

void PageRecoveryDataSource::requestDevices()
{
    const quint64 generation = ++m_devicesGeneration;
    const quint64 dataSourceId = m_values->dataSourceId;
    const QString dataSourceType = m_values->dataSourceType;
    const quint64 clientId = m_values->clientId;
    QPointer<PageRecoveryDataSource> self(this);
    m_retry.run<QList<ProtectedDevice>>(
        CallName,
        [this, self, generation, dataSourceId, dataSourceType, clientId](Callback<QList<ProtectedDevice>> done) {
            m_loader->showLoader("Loading devices");
            m_cloud.getDevices(dataSourceId, dataSourceType, clientId,
                               [self, generation, done](const Result<QList<ProtectedDevice>>& result) {
                                   if (!self || generation != self->m_devicesGeneration)
                                       return;
                                   self->m_loader->hideLoader();
                                   done(result);
                               });
        },
        [this](const QList<ProtectedDevice>& devices) {
            for (const ProtectedDevice& device : devices)
                m_devices->addItem(device.name, QVariant::fromValue(device));
            m_devices->setEnabled(true);
        });
}

void PageRecoveryDataSource::filterClients(const QString& text)
{
    m_clientList->setEnabled(false);
    m_clientList->blockSignals(true);
    m_clientList->clear();
    QListWidgetItem* current = nullptr;
    for (const TmxClient& client : m_clients) {
        if (!client.username.contains(text, Qt::CaseInsensitive))
            continue;
        auto* item = new QListWidgetItem(client.username + " (" + client.name + ")", m_clientList);
        item->setData(ClientIdRole, client.id);
        if (client.id == m_values->clientId)
            current = item;
    }
    m_clientList->blockSignals(false);
    m_clientList->setEnabled(true);
    if (current)
        m_clientList->setCurrentItem(current);
}

void PageRecoveryDataSource::onClientChanged(QListWidgetItem* item)
{
    const quint64 id = item ? item->data(ClientIdRole).toULongLong() : 0;
    if (id == 0) {
        clearFromDataSources();
        return;
    }
    if (id == m_values->clientId)
        return;
    clearFromDataSources();
    m_values->clientId = id;
    m_values->clientName = item->text();
    requestDataSources();
}

void PageRecoveryDataSource::onDataSourceChanged(int index)
{
    clearFromDevices();
    const QVariant data = m_dataSources->itemData(index);
    if (!data.isValid())
        return;
    const auto source = data.value<ClientDataSource>();
    m_values->dataSourceId = source.id;
    m_values->dataSourceType = source.type;
    requestDevices();
}

void PageRecoveryDataSource::onDeviceChanged(int index)
{
    clearDevice();
    const QVariant data = m_devices->itemData(index);
    if (data.isValid()) {
        const auto device = data.value<ProtectedDevice>();
        m_values->deviceId = static_cast<quint64>(device.id);
        m_values->deviceName = device.name;
    }
    updateNext();
}

void PageRecoveryDataSource::clearFromDataSources()
{
    m_retry.reset();
    m_values->clientId = 0;
    m_values->clientName.clear();
    m_dataSources->blockSignals(true);
    m_dataSources->clear();
    m_dataSources->blockSignals(false);
    m_dataSources->setEnabled(false);
    ++m_dataSourcesGeneration;
    clearFromDevices();
}

void PageRecoveryDataSource::clearFromDevices()
{
    m_retry.reset();
    m_values->dataSourceId = 0;
    m_values->dataSourceType.clear();
    m_devices->blockSignals(true);
    m_devices->clear();
    m_devices->blockSignals(false);
    m_devices->setEnabled(false);
    ++m_devicesGeneration;
    clearDevice();
    updateNext();
}

void PageRecoveryDataSource::clearDevice()
{
    m_retry.reset();
    m_values->deviceId = 0;
    m_values->deviceName.clear();
}

void PageRecoveryDataSource::updateNext()
{
    m_next->setEnabled(m_values->clientId != 0 && m_values->dataSourceId != 0 && m_values->deviceId != 0);
}

} // namespace Corvel
