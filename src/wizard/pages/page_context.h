#pragma once

#include "cloud/cloud_call_retry.h"
#include "core/settings.h"
#include "service/service_connection.h"
#include "session/auth_session.h"

#include <cstdint>
#include <functional>
#include <string>

namespace VuskAPI {
class CloudApi;
}

namespace Corvel {

// Opens the local cache at (path, login, password, passphrase): a LocalCacheCheck result, and the
// library's own words for a failure in `reason`.
using CacheCheck = std::function<std::int32_t(const std::string&, const std::string&, const std::string&,
                                              const std::string&, std::string& reason)>;

// What the pages' models are given.
struct PageContext {
    TmxAuth::AuthSession& session;
    const Settings& settings;
    VuskAPI::CloudApi& cloud;
    CorvelService::ServiceConnection& connection;
    // A new sign-in after the session expired, and the box for a cloud call given up on.
    VuskAPI::CloudCallRetry::ReSignIn reSignIn;
    VuskAPI::CloudCallRetry::Report reportCloudError;
    CacheCheck localCacheCheck;
    // Each service call is given up on after this long.
    int serviceCallLimitMs;

    VuskAPI::CloudCallRetry makeRetry() const
    {
        return VuskAPI::CloudCallRetry(settings.connectionRetriesNumber(), reSignIn, reportCloudError);
    }
};

} // namespace Corvel
