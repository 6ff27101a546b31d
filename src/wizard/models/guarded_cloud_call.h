#pragma once

#include "cloud/cloud_call_retry.h"

#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>

namespace Corvel {

// One line of cloud requests of a model (the clients, the devices, a token...) under the model's
// retry policy, if it has one (without, a failure goes straight to `onFailure`). A newer request, or invalidate(),
// makes the replies still out stale; nothing is delivered once the owner is gone. `loading` hears the text of a request
// going out and an empty text when its answer is in.
class GuardedCloudCall {
public:
    using Loading = std::function<void(const QString&)>;

    GuardedCloudCall(QObject* owner, VuskAPI::CloudCallRetry* retry, Loading loading)
        : m_owner(owner)
        , m_retry(retry)
        , m_loading(std::move(loading))
        , m_generation(std::make_shared<quint64>(0))
    {
    }

    void invalidate() { ++*m_generation; }

    template <typename T>
    void run(const QString& name, const QString& loadingText, std::function<void(VuskAPI::Callback<T>)> issue,
             std::function<void(const T&)> onSuccess, std::function<void(const VuskAPI::RequestError&)> onFailure = {})
    {
        const quint64 generation = ++*m_generation;
        std::weak_ptr<quint64> current = m_generation;
        QPointer<QObject> owner(m_owner);
        Loading loading = m_loading;
        std::function<void(VuskAPI::Callback<T>)> guarded = [=](VuskAPI::Callback<T> done) {
            loading(loadingText);
            issue([=](const VuskAPI::Result<T>& result) {
                const std::shared_ptr<quint64> now = current.lock();
                if (!owner || !now || *now != generation)
                    return;
                loading(QString());
                done(result);
            });
        };
        if (m_retry) {
            m_retry->run<T>(name, guarded, std::move(onSuccess), std::move(onFailure));
            return;
        }
        guarded([onSuccess, onFailure](const VuskAPI::Result<T>& result) {
            if (const T* value = std::get_if<0>(&result))
                onSuccess(*value);
            else if (onFailure)
                onFailure(std::get<1>(result));
        });
    }

private:
    QObject* m_owner;
    VuskAPI::CloudCallRetry* m_retry;
    Loading m_loading;
    std::shared_ptr<quint64> m_generation;
};

} // namespace Corvel
