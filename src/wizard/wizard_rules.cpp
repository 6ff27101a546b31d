#include "wizard/wizard_rules.h"

namespace Corvel::WizardRules {

using namespace CorvelService;

namespace {
constexpr quint64 MiB = 1048576;
constexpr quint64 GiB = 1024 * MiB;
} // namespace

QStringList freeDriveLetters(std::uint32_t usedMask)
{
    QStringList letters;
    for (int bit = 0; bit < 26; ++bit)
        if (!(usedMask & (std::uint32_t(1) << bit)))
            letters.append(QString(QChar('A' + bit)));
    return letters;
}

RamCheck checkRam(const QString& text, quint64 maxRamBytes)
{
    RamCheck check;
    bool parsed = false;
    const quint64 mib = text.toULongLong(&parsed, 10);
    if (!parsed) {
        check.problem = "Failed to convert " + text + "to integer value.";
        return check;
    }
    if (mib < 32)
        check.problem = "RAM value " + QString::number(mib) + " less than 32 Mib";
    else if (mib % 2 != 0)
        check.problem = "RAM value " + QString::number(mib) + " is not even";
    check.ramBytes = mib * MiB;
    if (check.problem.isEmpty() && mib * MiB > maxRamBytes)
        check.problem = "RAM value " + QString::number(mib) + " more than max RAM";
    check.valid = check.problem.isEmpty();
    return check;
}

QStringList ramChoices(quint64 maxRamBytes)
{
    QStringList choices;
    for (quint64 bytes = GiB; bytes <= maxRamBytes; bytes += GiB)
        choices.append(QString::number(bytes / MiB));
    return choices;
}

Generations generationsFor(DiskStyle::type systemDiskStyle)
{
    Generations generations;
    if (systemDiskStyle == DiskStyle::GPT) {
        generations.generation1Enabled = false;
    } else if (systemDiskStyle == DiskStyle::MBR) {
        generations.generation2Enabled = false;
        generations.checked = 1;
    }
    return generations;
}

bool vhdAllowed(int generation)
{
    return generation == 1;
}

bool dynamicAllowed(VirtualDiskType::type type)
{
    return type == VirtualDiskType::VhdGenOne || type == VirtualDiskType::VhdxGenTwo ||
           type == VirtualDiskType::VdiVirtualBox;
}

QString diskLabel(int number, const DiskInfo& disk)
{
    qint64 total = 0;
    for (const DiskVolumeInfo& volume : disk.volumes)
        total += volume.size;
    return "Disk " + QString::number(number) + (disk.is_system ? " [System]" : "") + " (" +
           QString::number(disk.volumes.size()) + " volume(s) totalling " +
           QString::number(double(total) / double(GiB), 'f', 2) + " GiB)";
}

} // namespace Corvel::WizardRules
