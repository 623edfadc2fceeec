// Signs an installed application folder for release: vistrel-sign-app Vistrel.app key.pem
// The key is the maker's Ed25519 private key, kept outside the repository.
#include <cstdio>
#include <fstream>
#include <sstream>

#include "update/AppSignature.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: vistrel-sign-app <folder.app> <private-key.pem>\n");
        return 2;
    }
    std::ifstream in(argv[2]);
    std::stringstream key;
    key << in.rdbuf();
    if (!in || !vistrel::AppSignature::sign(argv[1], key.str())) {
        std::fprintf(stderr, "could not sign %s\n", argv[1]);
        return 1;
    }
    const auto team = vistrel::AppSignature::teamIdentifier(argv[1]);
    std::printf("%s signed by %s\n", argv[1], team ? team->c_str() : "?");
    return 0;
}
