#pragma once

#include <map>
#include <string>

namespace CorvelSim {

struct Fault {
    enum Kind { Delay, Exception, Drop, WrongName, NoSuccess, Oversized };
    Kind kind = Delay;
    int delayMs = 0;
    int announced = 0; // Oversized: elements or bytes the reply claims
};

struct SimOptions {
    int port = 9000;
    std::string certDir = ".";
    std::string stateFile;
    bool plain = false;
    bool endless = false;
    int tickMs = 1000;
    int demoJobs = 0;
    std::map<std::string, Fault> faults; // by method name
    bool help = false;
};

// Parses the command line; on failure returns false with a one-line reason in error.
bool parseOptions(int argc, char** argv, SimOptions& options, std::string& error);

std::string usageText();

// The twelve methods of the service, in interface order.
const char* const* methodNames();
bool isMethodName(const std::string& name);

} // namespace CorvelSim
