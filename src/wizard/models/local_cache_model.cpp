#include "wizard/models/local_cache_model.h"

#include "cloud/cloud_api.h"
#include "localcache/local_cache_check.h"
#include "wizard/recovery_wizard_values.h"
#include "wizard/wizard_texts.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>

namespace Corvel {

using namespace VuskAPI;

LocalCacheModel::LocalCacheModel(RecoveryWizardValues& values, const PageContext& context, QObject* parent)
    : QObject(parent)
    , m_values(values)
    , m_cloud(context.cloud)
    , m_check(context.localCacheCheck)
    // The passphrase is asked once; its failure has a box of its own.
    , m_passphraseCall(this, nullptr, [this](const QString& text) { emit loading(text); })
{
}

void LocalCacheModel::check()
{
    const qint64 deviceId = static_cast<qint64>(m_values.deviceId);
    m_passphraseCall.run<QString>(
        "Passphrase request", "Checking local cache",
        [this, deviceId](Callback<QString> done) { m_cloud.getEncryptionPassphrase(deviceId, std::move(done)); },
        [this](const QString& passphrase) { open(passphrase); },
        [this](const RequestError& error) {
            emit refused(WizardTexts::passphraseFailed(error.code, error.description));
        });
}

void LocalCacheModel::open(const QString& passphrase)
{
    qWarning().noquote() << WizardTexts::OpeningCacheLog;
    const QString path = m_values.localCachePath;
    std::string reason;
    const std::int32_t result = m_check(path.toStdString(), m_values.localCacheLogin.toStdString(),
                                        m_values.localCachePassword.toStdString(), passphrase.toStdString(), reason);
    const auto outcome = static_cast<LocalCacheCheck>(result);
    if (outcome == LocalCacheOpened || outcome == LocalCacheNotWritable) {
        m_values.localCacheReadOnly = true;
        emit passed();
        return;
    }
    qCritical().noquote() << WizardTexts::CacheOpenFailedLog;
    const QString why = QString::fromStdString(reason);
    qCritical().noquote() << WizardTexts::cacheRefusedLog(path, why.isEmpty() ? describeLocalCacheCheck(result) : why);
    // A folder that is not there is no matter of permissions.
    const bool missing = outcome == LocalCacheUnreachable && !path.startsWith("\\\\") && !path.startsWith("//") &&
                         !QFileInfo::exists(path);
    QString text;
    switch (outcome) {
    case LocalCacheUnreachable:
        text = missing ? WizardTexts::CacheMissing : WizardTexts::CacheUnreachable;
        break;
    case LocalCacheNoKeyring:
    case LocalCacheKeyRefused:
        text = WizardTexts::CacheOtherAccount;
        break;
    case LocalCacheNotARepository:
        text = WizardTexts::CacheNoRepository;
        break;
    default:
        qCritical().noquote() << "Unknown LocalCache check result: " + QString::number(result);
        emit refused(WizardTexts::CacheUnknown);
        return;
    }
    emit refused(why.isEmpty() ? text : text + "\n" + WizardTexts::ReasonPrefix + why);
}

} // namespace Corvel
