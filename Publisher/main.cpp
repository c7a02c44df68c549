#include <cstdio>

int main()
{
    std::fputs("usage: zeft_repo COMMAND ARGUMENTS\n", stderr);
    return 2;
}
