#pragma once

// The log lines of the signed-in session, exactly as the product fixes them. Odd spellings ("cliend_id")
// are the product's own and kept on purpose: log readers search for them.
namespace TmxAuth::SessionTexts {

// The token
constexpr char InvalidToken[] = "Invalid token. Authentication Error.";
constexpr char EmptyToken[] = "Token is empty. Authentication Error.";
constexpr char EmptyPayload[] = "Token payload is empty.";
constexpr char NoData[] = "Failed to parse JSON data. Array name: data";
constexpr char NoDisplayName[] = "Token user_display_name field is empty. username field will be used";

// The role
constexpr char ClientRole[] = "cliend_id is presented, user role detected as Client.";
constexpr char PartnerRole[] = "reseller_id is presented, user role detected as Partner.";
constexpr char AdminRole[] = "cliend_id or reseller_id is not presented, user role detected as VelmoraAdmin.";

} // namespace TmxAuth::SessionTexts
