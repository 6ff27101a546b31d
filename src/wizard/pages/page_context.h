#pragma once

#include "auth/sign_in_flows.h"
#include "core/settings.h"
#include "service/service_connection.h"

#include <cstdint>
#include <functional>
#include <string>

namespace VuskAPI {
class CloudApi;
}

namespace Corvel {

// What the pages that reach the cloud or the service are given.
struct PageContext {
    TmxAuth::AuthSession& session;
    const Settings& settings;
    VuskAPI::CloudApi& cloud;
    // Makes a service client on the calling thread (pages query the service from pool threads).
    CorvelService::ServiceConnection::Factory serviceFactory;
    TmxAuth::TokenSource tokenSource;
    // Opens the local cache at (path, login, password, passphrase); the result codes of checkLocalCache.
    std::function<std::int32_t(const std::string&, const std::string&, const std::string&, const std::string&)>
        localCacheCheck;
};

} // namespace Corvel
