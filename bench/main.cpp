#include "bench.h"

#include <cstdio>
#include <map>
#include <string>

double Milliseconds(clockid_t clock)
{
    timespec time = {};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// The first argument names the bench.
int main(int argc, char **argv)
{
    const std::map<std::string, int (*)(int, char **)> benches = {{"file_sum", FileSum},
                                                                  {"heartbeat", Heartbeat},
                                                                  {"transfer", Transfer},
                                                                  {"window", Window}};
    const auto bench = benches.find(argc > 1 ? argv[1] : "");
    if (bench != benches.end())
        return bench->second(argc - 1, argv + 1);
    std::fputs("usage: zeft_bench file_sum|heartbeat|transfer|window ARGUMENTS, see bench.h\n",
               stderr);
    return 2;
}
