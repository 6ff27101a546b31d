#pragma once

// The log lines of the cloud's recovery API, exactly as the product fixes them. Odd wording ("Retrying attempts
// has been exhausted", the passphrase's "Request for token failed") is the product's own and kept on purpose.
namespace VuskAPI::CloudTexts {

// Failures
constexpr char ServerErrorCode[] = "Server Error. Error code: ";
constexpr char InternalErrorCode[] = "Internal Error. Error code: ";
constexpr char Description[] = ". Description: ";
constexpr char ReplyError[] = "Reply error: ";
constexpr char ReturnedError[] = " returned error: type - ";
constexpr char Code[] = ", code - ";
constexpr char ErrorDescription[] = ", description - ";
constexpr char AttemptsLeft[] = "Retrying attempts left: ";
constexpr char AttemptsExhausted[] = "Retrying attempts has been exhausted";
constexpr char EmptyJson[] = "JSON data is empty.";

// Requests
constexpr char RetrievingClients[] = "Retrieving clients list";
constexpr char ClientsRequest[] = "Clients list request: ";
constexpr char GotClient[] = "Got client: ";
constexpr char ClientFailed[] = "Request for client failed. Error: ";
constexpr char RetrievingDataSources[] = "Retrieving data sources list";
constexpr char DataSourcesRequest[] = "Data sources list request: ";
constexpr char GotDataSource[] = "Got data source: ";
constexpr char DataSourceFailed[] = "Request for data source failed. Error: ";
constexpr char RetrievingDevices[] = "Retrieving devices list";
constexpr char DevicesRequest[] = "Devices list request: ";
constexpr char GotDevice[] = "Got device: ";
constexpr char DeviceFailed[] = "Request for device failed. Error: ";
constexpr char RetrievingToken[] = "Retrieving token for datasource ";
constexpr char AndDevice[] = " and device ";
constexpr char TokenRequest[] = "Token for datasource request: ";
constexpr char GotToken[] = "Got token";
constexpr char TokenFailed[] = "Request for token failed. Error: ";
constexpr char RetrievingPassphrase[] = "Retrieving encryption passphrase for device ";
constexpr char PassphraseRequest[] = "Device phrase request: ";
constexpr char GotPassphrase[] = "Got device passphrase";

} // namespace VuskAPI::CloudTexts
