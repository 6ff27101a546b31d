#pragma once

// The lines of the local-cache check that the product fixes, word for word. Odd spellings in
// them would be the product's own: keep them.
namespace Corvel::LocalCacheTexts {

// Each library error, on standard output.
constexpr char MirelErrorLine[] = "Mirel error: %s\n";

// The results in words, for people (corvel-cache prints them beside the number).
constexpr char Opened[] = "the local cache opened and its folder is writable";
constexpr char NotWritable[] = "the local cache opened, but nothing can be written in its folder (read-only)";
constexpr char Unreachable[] =
    "the path cannot be reached (missing, not a folder, or the share refused the credentials)";
constexpr char NoKeyring[] = "no keyring could be made from the passphrase (is it empty?)";
constexpr char KeyRefused[] = "the local cache does not open with this passphrase";
constexpr char NotARepository[] = "there is no local cache at this path, or it is damaged";
constexpr char Unknown[] = "unknown result";

} // namespace Corvel::LocalCacheTexts
