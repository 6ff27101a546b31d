#pragma once

#include "CorvelService.h"
#include "wizard/pages/page_context.h"
#include "wizard/recovery_wizard_page.h"

#include <QFutureWatcher>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QCheckBox;
class QSpinBox;

namespace CorvelWidgets {
class CvNetworksSelector;
}

namespace Corvel {

struct RecoveryWizardVmSettings;

// The virtual machine: name, memory bounded by what the host has left, cores, CPU shares,
// Hyper-V generation, boot on start and network adapters.
class PageVmSettings : public RecoveryWizardPage {
    Q_OBJECT
public:
    PageVmSettings(RecoveryWizardVmSettings* vmSettings, const CorvelService::DiskStyle::type* systemDiskStyle,
                   const PageContext& context, const CorvelWidgets::IconFont& iconFont, QWidget* parent = nullptr);

    void onPageShown() override;

    QLineEdit* nameEdit() const { return m_name; }
    QComboBox* ramCombo() const { return m_ram; }
    QLabel* ramInfo() const { return m_ramInfo; }
    QSpinBox* coresSpin() const { return m_cores; }
    QRadioButton* generation1() const { return m_generation1; }
    QRadioButton* generation2() const { return m_generation2; }
    CorvelWidgets::CvNetworksSelector* networks() const { return m_networks; }
    QPushButton* nextButton() const { return m_next; }
    bool memoryKnown() const { return m_memoryKnown; }

    // Bytes of memory Hyper-V already uses; 0 when the service cannot say.
    static quint64 retrieveRamUsed(const CorvelService::ServiceConnection::Factory& factory);

private:
    void onMemoryKnown();
    void checkRam(const QString& text);
    void updateNext();

    RecoveryWizardVmSettings* m_vm;
    const CorvelService::DiskStyle::type* m_systemDiskStyle;
    QFutureWatcher<quint64> m_watcher;
    quint64 m_maxRamBytes = 0;
    bool m_nameValid = false;
    bool m_ramValid = false;
    bool m_memoryKnown = false;

    QLineEdit* m_name;
    QComboBox* m_ram;
    QLabel* m_ramInfo;
    QSpinBox* m_cores;
    QSpinBox* m_reserve;
    QSpinBox* m_limit;
    QSpinBox* m_weight;
    QRadioButton* m_generation1;
    QRadioButton* m_generation2;
    QCheckBox* m_boot;
    CorvelWidgets::CvNetworksSelector* m_networks;
    QPushButton* m_next;
};

} // namespace Corvel
