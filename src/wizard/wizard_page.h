#pragma once

#include <QMetaType>

#include <cstdint>

namespace Corvel {

// Page identifiers: the indexes of the pages in the wizard's stack.
enum WizardPage : int32_t {
    RecoveryType = 0,
    VirtualDiskType = 1,
    BMRSettings = 2,
    VirtualizationType = 3,
    RecoveryDataSource = 4,
    RecoveryPoint = 5,
    DisksSelector = 6,
    LocalCache = 7,
    VmSettings = 8,
    VirtualDiskOptions = 9,
    FileRecoverSettings = 10,
};

constexpr int WizardPageCount = 11;

} // namespace Corvel

Q_DECLARE_METATYPE(Corvel::WizardPage)
