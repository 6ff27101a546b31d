#pragma once

#include "CorvelService.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>

// The precise decisions of the recovery settings pages, apart from their widgets.
namespace Corvel::WizardRules {

// Upper-case letters whose bit (bit 0 = A) is clear in the mask of drives in use, A to Z.
QStringList freeDriveLetters(std::uint32_t usedMask);

// The RAM combo's text in MiB against the memory the host has left.
struct RamCheck {
    bool valid = false;
    // What goes into ramBytes (MiB x 1048576); empty when the text is not a number.
    std::optional<quint64> ramBytes;
    // The critical log line of a rejection; empty when valid.
    QString problem;
};
RamCheck checkRam(const QString& text, quint64 maxRamBytes);

// The RAM combo's items: whole GiB in MiB, up to and including maxRamBytes.
QStringList ramChoices(quint64 maxRamBytes);

// Which Hyper-V generations a system disk of this partition style allows, and which is checked.
struct Generations {
    bool generation1Enabled = true;
    bool generation2Enabled = true;
    int checked = 2;
};
Generations generationsFor(CorvelService::DiskStyle::type systemDiskStyle);

// A VHD disk is for Generation 1 machines only.
bool vhdAllowed(int generation);

// Disk image formats that can be written as dynamic (thin) disks.
bool dynamicAllowed(CorvelService::VirtualDiskType::type type);

// "Disk 0 [System] (2 volume(s) totalling 120.00 GiB)".
QString diskLabel(int number, const CorvelService::DiskInfo& disk);

} // namespace Corvel::WizardRules
