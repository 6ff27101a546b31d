#pragma once

// The log lines of the service connection, exactly as the product fixes them. Odd wording is the product's
// own and kept on purpose: log readers search for it.
namespace CorvelService::ServiceTexts {

constexpr char ApplicationException[] = "Application exception: ";
constexpr char UnknownException[] = "Unknown exception: ";
constexpr char SslFactoryFailedWhy[] = "Failed to create SSL socket factory: ";
constexpr char SslFactoryFailed[] = "Failed to create SSL socket factory";
constexpr char ThriftError[] = "Thrift error: ";
constexpr char ConnectFailed[] = "Failed to connect to Corvel service";

} // namespace CorvelService::ServiceTexts
