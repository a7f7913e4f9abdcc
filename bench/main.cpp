// Runs the cases with the library up.

#include <glib.h>
#include <gnu/libc-version.h>

#include <string>

#include "bench/allocators.h"
#include "bench/support.h"

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    const auto version = bench::MimallocFunction<decltype(mi_version)>("mi_version");
    benchmark::AddCustomContext("glibc", gnu_get_libc_version());
    benchmark::AddCustomContext("mimalloc", std::to_string(version()));
    benchmark::AddCustomContext(
        "glib", std::to_string(glib_major_version) + "." + std::to_string(glib_minor_version));

    const UtilInitRecord start = {0, 0, nullptr};
    if (UtilInit(&start) != 1) return 1;
    files_init();
    LockInit();
    benchmark::RunSpecifiedBenchmarks();
    VrExit(0);
    return 0;
}
