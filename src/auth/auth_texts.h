#pragma once

// The operator texts and log lines of signing in, exactly as the product fixes them. Odd wording
// ("Authentication Error Your session", "CV token") is the product's own and kept on purpose.
namespace TmxAuth::AuthTexts {

// Signing in
constexpr char SessionTimedOutLog[] =
    "Invalid token. Authentication Error. Your session has timed out. Please login again.";
constexpr char AuthenticationError[] = "Authentication Error";
constexpr char AuthenticationFailed[] = "Authentication failed. Please try login again.";
constexpr char NoTokenLog[] = "Failed to retrieve token. Corvel will be closed.";
constexpr char InvalidTokenLog[] = "Failed to parse CV token. Corvel will be closed.";
constexpr char CorvelError[] = "Corvel error";
constexpr char InvalidToken[] = "Invalid security token received, Corvel will be closed";
constexpr char TimedOutLog[] = "Authentication Error Your session has timed out. Please login again.";
constexpr char TimedOut[] = "Your session has timed out. Please login again.";
constexpr char SignInCanceled[] = "Token retrieving was canceled";
constexpr char LogoutCalled[] = "Logout procedure is called";
constexpr char LogoutRedirect[] = "Logout: redirecting from ";

// Cloud errors
constexpr char ServerError[] = "Server Error";
constexpr char ErrorCode[] = "Error code: ";
constexpr char TryLater[] = "\nPlease try again later";
constexpr char CheckConnection[] = "\nPlease check your internet connection and try again";
constexpr char InternalError[] = "Internal Error";
constexpr char InternalErrorText[] = "Internal error: ";

} // namespace TmxAuth::AuthTexts
