#include "update/AppSignature.h"

#include <openssl/evp.h>
#include <openssl/pem.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <sstream>
#include <vector>

namespace vistrel {

namespace fs = std::filesystem;

namespace {

using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using Context = std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)>;

std::string hex(const unsigned char* bytes, size_t size) {
    static const char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(size * 2);
    for (size_t i = 0; i < size; ++i) {
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 15];
    }
    return text;
}

std::string base64(const std::string& bytes) {
    std::string out(4 * ((bytes.size() + 2) / 3) + 1, '\0');
    const int n =
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(out.data()),
                        reinterpret_cast<const unsigned char*>(bytes.data()), int(bytes.size()));
    out.resize(size_t(n));
    return out;
}

std::optional<std::string> unbase64(const std::string& text, size_t expectedSize) {
    if (text.empty() || text.size() % 4) return std::nullopt;
    std::string out(3 * text.size() / 4, '\0');
    const int n =
        EVP_DecodeBlock(reinterpret_cast<unsigned char*>(out.data()),
                        reinterpret_cast<const unsigned char*>(text.data()), int(text.size()));
    if (n < 0) return std::nullopt;
    // DecodeBlock counts the padding as zero bytes.
    const size_t padding = size_t(std::count(text.end() - 2, text.end(), '='));
    out.resize(size_t(n) - padding);
    if (out.size() != expectedSize) return std::nullopt;
    return out;
}

std::optional<std::string> rawPublicKey(EVP_PKEY* key) {
    std::string raw(32, '\0');
    size_t size = raw.size();
    if (EVP_PKEY_get_raw_public_key(key, reinterpret_cast<unsigned char*>(raw.data()), &size) !=
            1 ||
        size != 32)
        return std::nullopt;
    return raw;
}

std::optional<std::string> readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    std::ostringstream text;
    text << in.rdbuf();
    if (in.bad()) return std::nullopt;
    return text.str();
}

struct SignatureFile {
    std::string key, signature;  // raw bytes
};

std::optional<SignatureFile> readSignature(const fs::path& folder) {
    const auto text = readFile(folder / AppSignature::fileName);
    if (!text) return std::nullopt;
    std::istringstream lines(*text);
    std::string word, key, signature;
    while (lines >> word) {
        if (word == "key")
            lines >> key;
        else if (word == "signature")
            lines >> signature;
        else
            return std::nullopt;
    }
    auto rawKey = unbase64(key, 32);
    auto rawSignature = unbase64(signature, 64);
    if (!rawKey || !rawSignature) return std::nullopt;
    return SignatureFile{*rawKey, *rawSignature};
}

}  // namespace

std::string AppSignature::sha256Hex(std::string_view bytes) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int size = 0;
    EVP_Digest(bytes.data(), bytes.size(), digest, &size, EVP_sha256(), nullptr);
    return hex(digest, size);
}

std::optional<std::string> AppSignature::keyID(const std::string& publicKeyPEM) {
    std::unique_ptr<BIO, decltype(&BIO_free)> bio(
        BIO_new_mem_buf(publicKeyPEM.data(), int(publicKeyPEM.size())), BIO_free);
    Key key(bio ? PEM_read_bio_PUBKEY(bio.get(), nullptr, nullptr, nullptr) : nullptr,
            EVP_PKEY_free);
    if (!key || EVP_PKEY_get_id(key.get()) != EVP_PKEY_ED25519) return std::nullopt;
    auto raw = rawPublicKey(key.get());
    if (!raw) return std::nullopt;
    return sha256Hex(*raw);
}

std::optional<std::string> AppSignature::digestList(const fs::path& folder) {
    std::vector<std::pair<std::string, std::string>> entries;
    std::error_code error;
    for (fs::recursive_directory_iterator it(folder, error), end; !error && it != end;
         it.increment(error)) {
        const fs::path relative = it->path().lexically_relative(folder);
        if (relative == fileName) continue;
        if (it->is_symlink(error)) {
            const fs::path target = fs::read_symlink(it->path(), error);
            if (error) return std::nullopt;
            entries.emplace_back(relative.generic_string(),
                                 sha256Hex("symlink:" + target.generic_string()));
        } else if (it->is_regular_file(error)) {
            auto bytes = readFile(it->path());
            if (!bytes) return std::nullopt;
            entries.emplace_back(relative.generic_string(), sha256Hex(*bytes));
        }
    }
    if (error) return std::nullopt;
    std::sort(entries.begin(), entries.end());
    std::string list;
    for (const auto& [path, digest] : entries) list += digest + "  " + path + "\n";
    return list;
}

bool AppSignature::sign(const fs::path& folder, const std::string& privateKeyPEM) {
    std::unique_ptr<BIO, decltype(&BIO_free)> bio(
        BIO_new_mem_buf(privateKeyPEM.data(), int(privateKeyPEM.size())), BIO_free);
    Key key(bio ? PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, nullptr) : nullptr,
            EVP_PKEY_free);
    if (!key || EVP_PKEY_get_id(key.get()) != EVP_PKEY_ED25519) return false;
    const auto list = digestList(folder);
    const auto raw = rawPublicKey(key.get());
    if (!list || !raw) return false;
    Context context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    std::string signature(64, '\0');
    size_t size = signature.size();
    if (!context || EVP_DigestSignInit(context.get(), nullptr, nullptr, nullptr, key.get()) != 1 ||
        EVP_DigestSign(context.get(), reinterpret_cast<unsigned char*>(signature.data()), &size,
                       reinterpret_cast<const unsigned char*>(list->data()), list->size()) != 1)
        return false;
    std::ofstream out(folder / fileName, std::ios::binary | std::ios::trunc);
    out << "key " << base64(*raw) << "\nsignature " << base64(signature) << "\n";
    return bool(out.flush());
}

bool AppSignature::verify(const fs::path& folder) {
    const auto file = readSignature(folder);
    const auto list = file ? digestList(folder) : std::nullopt;
    if (!list) return false;
    Key key(EVP_PKEY_new_raw_public_key(EVP_PKEY_ED25519, nullptr,
                                        reinterpret_cast<const unsigned char*>(file->key.data()),
                                        file->key.size()),
            EVP_PKEY_free);
    Context context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    return key && context &&
           EVP_DigestVerifyInit(context.get(), nullptr, nullptr, nullptr, key.get()) == 1 &&
           EVP_DigestVerify(
               context.get(), reinterpret_cast<const unsigned char*>(file->signature.data()),
               file->signature.size(), reinterpret_cast<const unsigned char*>(list->data()),
               list->size()) == 1;
}

std::optional<std::string> AppSignature::teamIdentifier(const fs::path& folder) {
    std::error_code error;
    if (!fs::exists(folder / fileName, error))
        return error ? std::nullopt : std::optional<std::string>(notSet);
    const auto file = readSignature(folder);
    if (!file) return std::nullopt;
    return sha256Hex(file->key);
}

}  // namespace vistrel
