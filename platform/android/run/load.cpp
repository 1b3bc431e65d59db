// Loads a library; says why where it cannot be loaded.
#include <dlfcn.h>

#include <cstdio>

int main(int, char** arguments) {
    if (dlopen(arguments[1], RTLD_NOW) != nullptr) return 0;
    std::puts(dlerror());
    return 1;
}
