#include "wizard/recovery_wizard.h"

#include "core/hyperv_check.h"
#include "platform/platform.h"
#include "widgets/message_box.h"
#include "wizard/pages/page_bmr_settings.h"
#include "wizard/pages/page_disks_selector.h"
#include "wizard/pages/page_file_recover_settings.h"
#include "wizard/pages/page_local_cache.h"
#include "wizard/pages/page_recovery_data_source.h"
#include "wizard/pages/page_recovery_point.h"
#include "wizard/pages/page_recovery_type.h"
#include "wizard/pages/page_virtual_disk_options.h"
#include "wizard/pages/page_virtual_disk_type.h"
#include "wizard/pages/page_virtualization_type.h"
#include "wizard/pages/page_vm_settings.h"
#include "wizard/resizable_stacked_widget.h"
#include "wizard/wizard_texts.h"

#include <QCoreApplication>
#include <QDebug>
#include <QGuiApplication>
#include <QLayout>
#include <QScreen>

namespace Corvel {

namespace {
QRect g_availableOverride;
}

RecoveryWizard::RecoveryWizard(QWidget* parent, const CorvelWidgets::IconFont& iconFont, RecoveryWizardContext context)
    : CustomBarWindow(iconFont, parent)
    , m_stack(new CorvelWidgets::ResizableStackedWidget)
    , m_context(std::move(context))
{
    setObjectName("recovery_wizard");
    const bool hyperV = isHyperVRunning(m_context.serviceControl);
    PageContext pages{m_context.session,
                      m_context.settings,
                      m_context.cloud,
                      m_context.connection,
                      [this] { return m_context.reSignIn && m_context.reSignIn(this); },
                      [this](const VuskAPI::RequestError& error) {
                          if (m_context.showCloudError)
                              m_context.showCloudError(this, error);
                      },
                      m_context.localCacheCheck,
                      m_context.serviceCallLimitMs};
    registerPage(RecoveryType, new PageRecoveryType(&m_values.recoveryType, hyperV, iconFont));
    registerPage(VirtualDiskType, new PageVirtualDiskType(&m_values.virtualDiskType, iconFont));
    registerPage(BMRSettings, new PageBMRSettings(m_context.settings, iconFont));
    registerPage(VirtualizationType, new PageVirtualizationType(&m_values.virtualizationType, iconFont));
    registerPage(RecoveryDataSource, new PageRecoveryDataSource(&m_values, pages, iconFont));
    registerPage(RecoveryPoint, new PageRecoveryPoint(&m_values, pages, iconFont));
    registerPage(DisksSelector, new PageDisksSelector(&m_values, pages, iconFont));
    registerPage(LocalCache, new PageLocalCache(&m_values, pages, iconFont));
    registerPage(VmSettings, new PageVmSettings(&m_values.vmSettings, &m_values.systemDiskStyle, pages, iconFont));
    registerPage(VirtualDiskOptions, new PageVirtualDiskOptions(&m_values.vmSettings, iconFont));
    registerPage(FileRecoverSettings,
                 new PageFileRecoverSettings(&m_values.mountPoint, &m_values.recoveryType, iconFont));

    m_history.append(RecoveryType);
    showPage(RecoveryType);
    contentLayout()->addWidget(m_stack);
}

RecoveryWizard::~RecoveryWizard() = default;

RecoveryWizardPage* RecoveryWizard::page(WizardPage id) const
{
    return qobject_cast<RecoveryWizardPage*>(m_stack->widget(id));
}

RecoveryWizardPage* RecoveryWizard::currentPage() const
{
    return qobject_cast<RecoveryWizardPage*>(m_stack->currentWidget());
}

void RecoveryWizard::registerPage(WizardPage id, RecoveryWizardPage* page)
{
    m_stack->insertWidget(id, page);
    connect(page, &RecoveryWizardPage::nextPageRequested, this, &RecoveryWizard::nextPage);
    connect(page, &RecoveryWizardPage::previousPageRequested, this, &RecoveryWizard::previousPage);
    connect(page, &RecoveryWizardPage::completeWizard, this, &QDialog::accept);
    connect(page, &RecoveryWizardPage::closeWizard, this, &QWidget::close);
}

void RecoveryWizard::resume(const RecoveryWizardValues& values, const QVector<qint32>& history)
{
    if (history.isEmpty())
        return;
    m_values = values;
    m_history = history;
    showPage(m_history.last());
}

void RecoveryWizard::reject()
{
    // Only a flow that leads to a job holds input worth asking about (bare metal restore only downloads).
    if (m_history.size() > 1 && m_values.recoveryType) {
        CorvelWidgets::MessageBox::Request request;
        request.icon = QMessageBox::Question;
        request.title = windowTitle();
        request.text = WizardTexts::DiscardQuestion;
        request.buttons = QMessageBox::Yes | QMessageBox::No;
        request.defaultButton = QMessageBox::No;
        if (CorvelWidgets::MessageBox::ask(this, request) != QMessageBox::Yes)
            return;
    }
    CustomBarWindow::reject();
}

void RecoveryWizard::nextPage(WizardPage page)
{
    m_history.append(page);
    showPage(page);
}

void RecoveryWizard::previousPage()
{
    if (m_history.isEmpty()) {
        qCritical() << "Empty pages stack!";
        return;
    }
    m_history.removeLast();
    if (m_history.isEmpty()) {
        reject();
        return;
    }
    showPage(m_history.last());
}

void RecoveryWizard::setAvailableGeometryOverride(const QRect& area)
{
    g_availableOverride = area;
}

void RecoveryWizard::showPage(int index)
{
    qInfo().noquote() << "Wizard page changed to " + QString::number(index);
    m_stack->setCurrentIndex(index);
    auto* page = qobject_cast<RecoveryWizardPage*>(m_stack->widget(index));
    if (!page) {
        qCritical() << "Non-wizard page in pages container!";
        return;
    }
    page->onPageShown();
    setTitle(page->title());
    m_stack->updateGeometry();
    if (isVisible()) {
        place();
        page->focusFirstInput();
    }
}

void RecoveryWizard::showEvent(QShowEvent* event)
{
    CustomBarWindow::showEvent(event);
    // Sizes asked for before the dialog is on screen can be off (scrolled pages on low screens).
    place();
    if (RecoveryWizardPage* page = currentPage())
        page->focusFirstInput();
}

void RecoveryWizard::place()
{
    QRect area = g_availableOverride;
    if (area.isEmpty()) {
        const QScreen* screen = parentWidget() ? parentWidget()->screen() : this->screen();
        if (screen)
            area = screen->availableGeometry();
    }
    // The final size first: centring on a size still to grow lets the dialog drift down and right.
    // (Not adjustSize: it keeps a window within two thirds of the screen and cuts the page.)
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    QSize size = sizeHint().expandedTo(minimumSizeHint());
    if (!area.isEmpty())
        size = size.boundedTo(area.size());
    resize(size);
    const QPoint centre = parentWidget() && parentWidget()->isVisible() ? parentWidget()->frameGeometry().center()
                                                                        : frameGeometry().center();
    QRect frame = frameGeometry();
    frame.moveCenter(centre);
    if (!area.isEmpty()) {
        frame.moveRight(qMin(frame.right(), area.right()));
        frame.moveBottom(qMin(frame.bottom(), area.bottom()));
        frame.moveLeft(qMax(frame.left(), area.left()));
        frame.moveTop(qMax(frame.top(), area.top()));
    }
    move(frame.topLeft());
}

} // namespace Corvel
