#pragma once

#include <QString>

// Tokens in the shape the sign-in site issues: header.payload.signature, payload in standard base64.
inline QString makeToken(const QByteArray& payloadJson)
{
    return "hdr." + QString::fromLatin1(payloadJson.toBase64()) + ".sig";
}
inline QString partnerToken()
{
    return makeToken(R"({"data":{"reseller_id":7,"username":"partner","user_display_name":"Paula"}})");
}
inline QString incompleteToken()
{
    return makeToken(R"({"data":{"reseller_id":7}})");
}
inline QString clientToken()
{
    return makeToken(R"({"data":{"client_id":101,"username":"northwind","user_display_name":"Oskar"}})");
}
