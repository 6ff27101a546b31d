#include "sim_options.h"

#include <cerrno>
#include <cstdlib>
#include <limits>

namespace CorvelSim {

namespace {

const char* const kMethods[] = {"createJob",
                                "startJob",
                                "stopJob",
                                "cancelJob",
                                "deleteJob",
                                "getJobMutableSettings",
                                "setJobMutableSettings",
                                "getAllJobsInfo",
                                "retrieveRestorePoints",
                                "retrieveMetadata",
                                "retrieveHyperVRamBytesUsed",
                                "retrieveHyperVNetworks",
                                nullptr};

bool parseInt(const std::string& text, int min, int max, int& value)
{
    if (text.empty())
        return false;
    errno = 0;
    char* end = nullptr;
    const long parsed = std::strtol(text.c_str(), &end, 10);
    if (errno != 0 || *end != '\0' || parsed < min || parsed > max)
        return false;
    value = static_cast<int>(parsed);
    return true;
}

bool parseFault(const std::string& text, SimOptions& options, std::string& error)
{
    const auto equals = text.find('=');
    if (equals == std::string::npos) {
        error = "--fault expects METHOD=KIND[:ARG], got \"" + text + "\"";
        return false;
    }
    const std::string method = text.substr(0, equals);
    std::string kind = text.substr(equals + 1);
    std::string argument;
    const auto colon = kind.find(':');
    if (colon != std::string::npos) {
        argument = kind.substr(colon + 1);
        kind.erase(colon);
    }
    if (!isMethodName(method)) {
        error = "--fault: unknown method \"" + method + "\"";
        return false;
    }

    Fault fault;
    if (kind == "delay") {
        fault.kind = Fault::Delay;
        if (!parseInt(argument, 0, 3600 * 1000, fault.delayMs)) {
            error = "--fault: delay needs milliseconds, as in " + method + "=delay:500";
            return false;
        }
    } else if (kind == "oversized") {
        fault.kind = Fault::Oversized;
        fault.announced = 1000000;
        if (!argument.empty() && !parseInt(argument, 1, 0x7fffffff, fault.announced)) {
            error = "--fault: oversized takes a count, as in " + method + "=oversized:50000";
            return false;
        }
    } else if (kind == "exception" || kind == "drop" || kind == "wrong-name" || kind == "no-success") {
        if (!argument.empty()) {
            error = "--fault: " + kind + " takes no argument";
            return false;
        }
        fault.kind = kind == "exception"    ? Fault::Exception
                     : kind == "drop"       ? Fault::Drop
                     : kind == "wrong-name" ? Fault::WrongName
                                            : Fault::NoSuccess;
    } else {
        error =
            "--fault: unknown kind \"" + kind + "\" (delay:MS, exception, drop, wrong-name, no-success, oversized[:N])";
        return false;
    }
    options.faults[method] = fault;
    return true;
}

} // namespace

const char* const* methodNames()
{
    return kMethods;
}

bool isMethodName(const std::string& name)
{
    for (const char* const* m = kMethods; *m; ++m) {
        if (name == *m)
            return true;
    }
    return false;
}

bool parseOptions(int argc, char** argv, SimOptions& options, std::string& error)
{
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        if (option == "--help" || option == "-h") {
            options.help = true;
            continue;
        }
        if (option == "--plain") {
            options.plain = true;
            continue;
        }
        if (option == "--endless") {
            options.endless = true;
            continue;
        }
        if (option != "--port" && option != "--cert-dir" && option != "--state" && option != "--tick-ms" &&
            option != "--jobs" && option != "--fault") {
            error = "unknown option \"" + option + "\"";
            return false;
        }
        if (i + 1 >= argc) {
            error = option + " needs a value";
            return false;
        }
        const std::string value = argv[++i];
        if (option == "--port") {
            if (!parseInt(value, 0, 65535, options.port)) {
                error = "--port expects 0..65535, got \"" + value + "\"";
                return false;
            }
        } else if (option == "--cert-dir") {
            options.certDir = value;
        } else if (option == "--state") {
            options.stateFile = value;
        } else if (option == "--tick-ms") {
            if (!parseInt(value, 1, 3600 * 1000, options.tickMs)) {
                error = "--tick-ms expects a positive number of milliseconds, got \"" + value + "\"";
                return false;
            }
        } else if (option == "--jobs") {
            if (!parseInt(value, 0, 100000, options.demoJobs)) {
                error = "--jobs expects 0..100000, got \"" + value + "\"";
                return false;
            }
        } else if (!parseFault(value, options, error)) {
            return false;
        }
    }
    return true;
}

std::string usageText()
{
    return "usage: corvel-service-sim [options]\n"
           "\n"
           "A stand-in for the local Corvel service: the same interface over TLS with mutual\n"
           "authentication, bound to 127.0.0.1 only, with a job state machine and deterministic\n"
           "restore points, disk metadata and Hyper-V data.\n"
           "\n"
           "  --port N            listen on port N (default 9000; 0 picks a free port)\n"
           "  --cert-dir DIR      folder holding tolvex.crt and tolvex.key (default: current);\n"
           "                      the client must present the same certificate\n"
           "  --state FILE        keep the jobs in FILE (JSON); a restart picks them up again\n"
           "  --plain             plain TCP instead of TLS (benchmarks only)\n"
           "  --tick-ms MS        pace of the job state machine (default 1000)\n"
           "  --endless           running jobs never finish: their progress starts over at 100\n"
           "  --jobs N            start with N demo jobs in varied states and types\n"
           "                      (only when the state file holds no jobs)\n"
           "  --fault METHOD=KIND[:ARG]\n"
           "                      misbehave on every call of METHOD; repeatable. KIND is one of\n"
           "                        delay:MS    answer MS milliseconds late\n"
           "                        exception   answer with an application exception\n"
           "                        drop        close the connection without answering\n"
           "                        wrong-name  answer under another method's name\n"
           "                        no-success  answer without a result value\n"
           "                        oversized[:N]\n"
           "                                    begin a reply whose result claims N elements (a\n"
           "                                    list) or N bytes (a string; other results: an\n"
           "                                    unknown string field), default 1000000, send\n"
           "                                    nothing more and close the connection\n"
           "  --help              show this text\n"
           "\n"
           "Once listening it prints \"listening on 127.0.0.1:PORT\" on standard output; each call\n"
           "received is logged on standard error. SIGTERM or SIGINT end it (state saved).\n"
           "\n"
           "Example:\n"
           "  scripts/make-certs /tmp/corvel-wd\n"
           "  corvel-service-sim --cert-dir /tmp/corvel-wd --state /tmp/corvel-wd/sim-jobs.json \\\n"
           "      --jobs 12 --tick-ms 500 --fault retrieveMetadata=delay:3000\n";
}

} // namespace CorvelSim
