#include <cstdio>

int main()
{
    std::fputs("usage: zeft_fextr_cmd COMMAND ARGUMENTS\n", stderr);
    return 2;
}
