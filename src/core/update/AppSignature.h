// The signature of an application folder: the file "CodeSignature" at its top holds an Ed25519
// public key and a signature, by that key, over the sorted list of the SHA-256 of every other
// file (symbolic links by their target text) with its path. The key's id, the SHA-256 of its raw
// bytes in hexadecimal, is the folder's team identifier. Thread-safe.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace vistrel {

class AppSignature {
  public:
    static constexpr const char* fileName = "CodeSignature";
    static constexpr const char* notSet = "not set";

    static std::string sha256Hex(std::string_view bytes);

    // The id of a PEM public key, absent when the text is not an Ed25519 public key.
    static std::optional<std::string> keyID(const std::string& publicKeyPEM);

    // Writes the signature file with a PEM private key; false when the key or folder is unusable.
    static bool sign(const std::filesystem::path& folder, const std::string& privateKeyPEM);

    // True when the signature file is present, well formed, and matches every file now in the
    // folder, and no file was added or removed.
    static bool verify(const std::filesystem::path& folder);

    // The signer's key id; "not set" for a folder without a signature file; absent when the
    // file cannot be read.
    static std::optional<std::string> teamIdentifier(const std::filesystem::path& folder);

  private:
    static std::optional<std::string> digestList(const std::filesystem::path& folder);
};

}  // namespace vistrel
