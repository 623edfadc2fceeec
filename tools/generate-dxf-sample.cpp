// vistrel-gen-sample OUT.dxf: writes the built-in sample house.
#include <cstdio>
#include <exception>

#include "DXFSampleBuilding.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: vistrel-gen-sample OUT.dxf\n");
        return 2;
    }
    try {
        auto f = vistrel::tools::writeDXFSampleBuilding(argv[1]);
        std::printf("%s: %llu bytes, %d layers, %d blocks, %llu faces, %llu inserts\n", argv[1],
                    (unsigned long long)f.bytes, f.layers, f.blocks, (unsigned long long)f.faces,
                    (unsigned long long)f.inserts);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "vistrel-gen-sample: %s\n", e.what());
        return 1;
    }
    return 0;
}
