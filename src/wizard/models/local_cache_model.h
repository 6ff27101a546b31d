#pragma once

#include "wizard/models/guarded_cloud_call.h"
#include "wizard/pages/page_context.h"

#include <QObject>

namespace Corvel {

struct RecoveryWizardValues;

// The local cache check before a recovery through one: the device's passphrase from the cloud,
// then the repository at the chosen path opened with it.
class LocalCacheModel : public QObject {
    Q_OBJECT
public:
    LocalCacheModel(RecoveryWizardValues& values, const PageContext& context, QObject* parent = nullptr);

    void check();

signals:
    void loading(const QString& text);
    // The cache opened: the values say so.
    void passed();
    // The box's text.
    void refused(const QString& text);

private:
    void open(const QString& passphrase);

    RecoveryWizardValues& m_values;
    VuskAPI::CloudApi& m_cloud;
    CacheCheck m_check;
    GuardedCloudCall m_passphraseCall;
};

} // namespace Corvel
