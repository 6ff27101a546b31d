// corvel-cache: checks a local cache the way the recovery wizard does, before a recovery.
#include "localcache/local_cache_check.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>

namespace {

constexpr int UsageError = 64;

const char* const Usage =
    "usage: corvel-cache check PATH [--login USER] [--password-file FILE] [--passphrase-file FILE]\n";

const char* const Help = "Checks that PATH holds a local cache that opens with the device's encryption passphrase,\n"
                         "exactly as the recovery wizard does, and prints the result.\n"
                         "\n"
                         "The passphrase comes from the environment variable CORVEL_CACHE_PASSPHRASE or from\n"
                         "--passphrase-file FILE (the file's first line); never from the command line, where other\n"
                         "users could read it.\n"
                         "\n"
                         "  --login USER            user name for a network share (\\\\server\\share\\...)\n"
                         "  --password-file FILE    the share password, from the file's first line\n"
                         "  --passphrase-file FILE  the cache's passphrase, from the file's first line\n"
                         "  --help                  this text\n"
                         "\n"
                         "Exit status, printed with its meaning:\n"
                         "  0  opened, and the folder is writable\n"
                         "  1  opened, but the folder is read-only\n"
                         "  2  the path cannot be reached\n"
                         "  3  no keyring from the passphrase (empty passphrase)\n"
                         "  4  the passphrase does not open the cache\n"
                         "  5  no local cache at the path, or a damaged one\n"
                         " 64  wrong usage\n";

std::optional<std::string> firstLine(const std::string& file)
{
    std::ifstream in(file, std::ios::binary);
    if (!in)
        return std::nullopt;
    std::string line;
    std::getline(in, line);
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return line;
}

int usage(const std::string& problem)
{
    std::fprintf(stderr, "corvel-cache: %s\n%s", problem.c_str(), Usage);
    return UsageError;
}

} // namespace

int main(int argc, char** argv)
{
    std::optional<std::string> path;
    std::string login;
    std::string password;
    std::optional<std::string> passphrase;
    if (const char* fromEnvironment = std::getenv("CORVEL_CACHE_PASSPHRASE"))
        passphrase = fromEnvironment;
    bool checking = false;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const auto value = [&]() -> std::optional<std::string> {
            if (i + 1 >= argc)
                return std::nullopt;
            return std::string(argv[++i]);
        };
        if (argument == "--help" || argument == "-h") {
            std::fputs(Usage, stdout);
            std::fputs("\n", stdout);
            std::fputs(Help, stdout);
            return 0;
        }
        if (argument == "check" && !checking) {
            checking = true;
        } else if (argument == "--login") {
            const auto text = value();
            if (!text)
                return usage("--login needs a user name");
            login = *text;
        } else if (argument == "--password-file" || argument == "--passphrase-file") {
            const auto file = value();
            if (!file)
                return usage(argument + " needs a file");
            const auto line = firstLine(*file);
            if (!line)
                return usage("cannot read " + *file);
            (argument == "--password-file" ? password : passphrase.emplace()) = *line;
        } else if (argument == "--passphrase" || argument == "--password") {
            return usage(argument + " is not accepted: secrets on the command line can be read by other users");
        } else if (!argument.empty() && argument[0] == '-') {
            return usage("unknown option " + argument);
        } else if (checking && !path) {
            path = argument;
        } else {
            return usage("unexpected argument " + argument);
        }
    }
    if (!checking || !path)
        return usage(checking ? "check needs a PATH" : "nothing to do");
    if (!passphrase)
        std::fputs("corvel-cache: no passphrase given (CORVEL_CACHE_PASSPHRASE or --passphrase-file)\n", stderr);
    const std::int32_t result = Corvel::checkLocalCache(*path, login, password, passphrase.value_or(std::string()));
    std::printf("%d: %s\n", result, Corvel::describeLocalCacheCheck(result));
    return result;
}
