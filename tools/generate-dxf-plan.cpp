// vistrel-gen-dxf OUT.dxf SIZE_MB: writes a deterministic architectural plan of about that size.
#include <charconv>
#include <cstdio>
#include <cstring>
#include <exception>

#include "DXFPlanGenerator.h"

int main(int argc, char** argv) {
    double megabytes = 0;
    if (argc != 3 ||
        std::from_chars(argv[2], argv[2] + std::strlen(argv[2]), megabytes).ec != std::errc() ||
        !(megabytes > 0)) {
        std::fprintf(stderr, "usage: vistrel-gen-dxf OUT.dxf SIZE_MB\n");
        return 2;
    }
    try {
        auto f = vistrel::tools::writeDXFPlan(argv[1], uint64_t(megabytes * 1e6));
        std::printf("%s: %llu bytes, %d layers, %d blocks, %llu entities, %llu inserts\n", argv[1],
                    (unsigned long long)f.bytes, f.layers, f.blocks, (unsigned long long)f.entities,
                    (unsigned long long)f.inserts);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "vistrel-gen-dxf: %s\n", e.what());
        return 1;
    }
    return 0;
}
