// SecretWriter <account> <times>: saves the numbers from 1 on as an account's secret in our own
// store. Says "ready" after the first.

#include "Platform/Linux/Secrets/FileSecretStore.h"

#include <cstdio>
#include <cstdlib>

int main(int argc, char **argv) {
    if (argc != 3)
        return EXIT_FAILURE;
    corvid::FileSecretStore store;
    const int times = std::atoi(argv[2]);
    for (int i = 1; i <= times; ++i) {
        // It says so where another process has kept the store for too long.
        while (!store.set(QString::fromLocal8Bit(argv[1]), QString::number(i))) {
        }
        if (i == 1) {
            std::puts("ready");
            std::fflush(stdout);
        }
    }
    return EXIT_SUCCESS;
}
