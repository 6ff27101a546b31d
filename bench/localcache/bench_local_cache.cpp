// checkLocalCache on a repository made by restic with its default key parameters, next to
// `restic cat config` on the same repository: medians over several runs, in milliseconds.
#include "localcache/local_cache_check.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2.0;
}

template <typename F> double timeMs(F&& run)
{
    const auto start = std::chrono::steady_clock::now();
    run();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

int main(int argc, char** argv)
{
    const int runs = argc > 1 ? std::atoi(argv[1]) : 7;
    const std::string repository = "/tmp/corvel-bench-cache";
    const std::string passphrase = "amber-falcon-42";
    std::system(("rm -rf " + repository).c_str());
    if (std::system(
            ("RESTIC_PASSWORD=" + passphrase + " restic init -q --repo " + repository + " >/dev/null").c_str()) != 0) {
        std::fprintf(stderr, "restic init failed (is restic installed?)\n");
        return 1;
    }
    std::vector<double> ours, theirs;
    for (int i = 0; i < runs; ++i) {
        int result = -1;
        ours.push_back(timeMs([&] { result = Corvel::checkLocalCache(repository, "", "", passphrase); }));
        if (result != 0) {
            std::fprintf(stderr, "checkLocalCache gave %d\n", result);
            return 1;
        }
        theirs.push_back(timeMs([&] {
            std::system(
                ("RESTIC_PASSWORD=" + passphrase + " restic --no-cache cat config --repo " + repository + " >/dev/null")
                    .c_str());
        }));
    }
    std::printf("runs: %d\n", runs);
    std::printf("checkLocalCache      median %.1f ms  (min %.1f, max %.1f)\n", median(ours),
                *std::min_element(ours.begin(), ours.end()), *std::max_element(ours.begin(), ours.end()));
    std::printf("restic cat config    median %.1f ms  (min %.1f, max %.1f)\n", median(theirs),
                *std::min_element(theirs.begin(), theirs.end()), *std::max_element(theirs.begin(), theirs.end()));
    std::system(("rm -rf " + repository).c_str());
    return 0;
}
