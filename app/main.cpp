#include <cstdio>

int main(int argc, char**)
{
    if (argc < 2) {
        std::fputs("You should not try run this manualy\n", stdout);
        return 1;
    }
    return 1;
}
