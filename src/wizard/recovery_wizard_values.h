#pragma once

#include "CorvelService.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <optional>

namespace Corvel {

// The virtual machine part of the collected values.
struct RecoveryWizardVmSettings {
    QString name;
    quint64 ramBytes = 1073741824;
    qint64 cpuCores = 1;
    QStringList networkAdapters;
    qint32 generation = 1;
    bool bootOnStart = true;
    qint64 reserve = 0;
    qint64 limit = 100;
    qint64 relativeWeight = 100;
    QString storageLocation;
    CorvelService::VirtualDiskType::type diskType = CorvelService::VirtualDiskType::None;
    bool dynamicDisk = false;
};

// Everything the wizard's pages collect for one recovery job. Each page writes its own fields.
struct RecoveryWizardValues {
    RecoveryWizardValues() { restorePointsCache.reserve(16); }

    quint64 clientId = 0;
    QString clientName;
    quint64 dataSourceId = 0;
    quint64 deviceId = 0;
    QString deviceName;
    QString dataSourceType;
    QString deviceHost;
    QString deviceToken;
    QString snapshot;
    bool localCacheEnabled = false;
    QString localCachePath;
    QString localCacheLogin;
    QString localCachePassword;
    QString jobDescription;
    bool localCacheReadOnly = false;
    // 0 virtualization, 1 file recovery, 2 virtual disk export; empty for bare metal restore.
    std::optional<CorvelService::JobType::type> recoveryType;
    CorvelService::VirtualizationType::type virtualizationType = CorvelService::VirtualizationType::Test;
    QString mountPoint;
    CorvelService::VirtualDiskType::type virtualDiskType = CorvelService::VirtualDiskType::None;
    // Device id -> restore point names as the service listed them.
    QHash<quint64, QStringList> restorePointsCache;
    QStringList disksNames;
    bool useDynamicVirtualDisk = false;
    CorvelService::DiskStyle::type systemDiskStyle = CorvelService::DiskStyle::RAW;
    RecoveryWizardVmSettings vmSettings;
};

} // namespace Corvel
