// An updater failure: domain "VistrelUpdater", a code, and a message already in the interface's
// language at the time of the failure.
#pragma once

#include <stdexcept>
#include <string>

namespace vistrel {

class UpdateError : public std::runtime_error {
  public:
    // Codes of the release check and of the download path; other codes are a command's status
    // or a transfer's libcurl code.
    enum Code {
        invalidResponse = 1,
        noArchive = 2,
        incompleteManifest = 3,
        checksumMismatch = 10,
        noAppFolder = 11,
        signerMismatch = 12,
        badSignature = 13,
        badArchive = 14,
        systemManaged = 15,
        transferFailed = 16,
    };

    UpdateError(int code, const std::string& message) : std::runtime_error(message), code_(code) {}

    static constexpr const char* domain = "VistrelUpdater";
    int code() const { return code_; }

  private:
    int code_;
};

}  // namespace vistrel
