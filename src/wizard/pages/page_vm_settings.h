#pragma once

#include "CorvelService.h"
#include "wizard/models/hyperv_model.h"
#include "wizard/recovery_wizard_page.h"

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

private:
    void onMemoryKnown(quint64 availableBytes);
    void checkRam(const QString& text);
    void updateNext();

    RecoveryWizardVmSettings* m_vm;
    const CorvelService::DiskStyle::type* m_systemDiskStyle;
    HyperVModel m_hyperV;
    quint64 m_maxRamBytes = 0;
    bool m_nameValid = false;
    bool m_ramValid = false;

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
