#include "bench.h"

#include <cstdio>
#include <map>
#include <string>

/// The first argument names the bench.
int main(int argc, char **argv)
{
    const std::map<std::string, int (*)(int, char **)> benches = {{"file_sum", FileSum},
                                                                  {"heartbeat", Heartbeat},
                                                                  {"start", Start},
                                                                  {"transfer", Transfer},
                                                                  {"window", Window}};
    const auto bench = benches.find(argc > 1 ? argv[1] : "");
    if (bench != benches.end())
        return bench->second(argc - 1, argv + 1);
    std::fputs("usage: zeft_bench NAME ARGUMENTS, see bench.h\n", stderr);
    return 2;
}
