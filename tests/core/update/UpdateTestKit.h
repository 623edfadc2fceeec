// What the updater tests share: a key pair, application folders and zips built at run time, a
// python3 HTTP server on loopback, and a main-thread queue pumped by hand.
#pragma once

#include <archive.h>
#include <archive_entry.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace updatetest {

namespace fs = std::filesystem;

struct KeyPair {
    std::string privatePEM, publicPEM;
    KeyPair() {
        EVP_PKEY* key = EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519");
        BIO* a = BIO_new(BIO_s_mem());
        BIO* b = BIO_new(BIO_s_mem());
        PEM_write_bio_PrivateKey(a, key, nullptr, nullptr, 0, nullptr, nullptr);
        PEM_write_bio_PUBKEY(b, key);
        char* data = nullptr;
        long size = BIO_get_mem_data(a, &data);
        privatePEM.assign(data, size_t(size));
        size = BIO_get_mem_data(b, &data);
        publicPEM.assign(data, size_t(size));
        BIO_free(a);
        BIO_free(b);
        EVP_PKEY_free(key);
    }
};

inline void writeFile(const fs::path& path, const std::string& text) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

inline std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// Zips every entry under `root`, named relative to it, symbolic links as links.
inline void zipFolder(const fs::path& root, const fs::path& zip) {
    archive* a = archive_write_new();
    archive_write_set_format_zip(a);
    archive_write_open_filename(a, zip.c_str());
    for (const auto& item : fs::recursive_directory_iterator(root)) {
        archive_entry* e = archive_entry_new();
        archive_entry_set_pathname(e, item.path().lexically_relative(root).c_str());
        std::string data;
        if (item.is_symlink()) {
            archive_entry_set_filetype(e, AE_IFLNK);
            archive_entry_set_symlink(e, fs::read_symlink(item.path()).c_str());
            archive_entry_set_perm(e, 0777);
        } else if (item.is_directory()) {
            archive_entry_set_filetype(e, AE_IFDIR);
            archive_entry_set_perm(e, 0755);
        } else {
            data = readFile(item.path());
            archive_entry_set_filetype(e, AE_IFREG);
            archive_entry_set_perm(e, unsigned(fs::status(item.path()).permissions()) & 0777);
            archive_entry_set_size(e, la_int64_t(data.size()));
        }
        archive_write_header(a, e);
        if (!data.empty()) archive_write_data(a, data.data(), data.size());
        archive_entry_free(e);
    }
    archive_write_close(a);
    archive_write_free(a);
}

// One entry named as given, whatever it says.
inline void zipRawEntry(const fs::path& zip, const std::string& name, const std::string& data,
                        const char* symlink = nullptr) {
    archive* a = archive_write_new();
    archive_write_set_format_zip(a);
    archive_write_open_filename(a, zip.c_str());
    archive_entry* e = archive_entry_new();
    archive_entry_set_pathname(e, name.c_str());
    archive_entry_set_filetype(e, symlink ? AE_IFLNK : AE_IFREG);
    archive_entry_set_perm(e, 0644);
    if (symlink) archive_entry_set_symlink(e, symlink);
    archive_entry_set_size(e, symlink ? 0 : la_int64_t(data.size()));
    archive_write_header(a, e);
    if (!symlink) archive_write_data(a, data.data(), data.size());
    archive_entry_free(e);
    archive_write_close(a);
    archive_write_free(a);
}

// python3 -m http.server on 127.0.0.1, serving `folder`, for the life of the object.
class LoopbackServer {
  public:
    explicit LoopbackServer(const fs::path& folder) {
        int out[2];
        if (pipe(out) != 0) return;
        pid_ = fork();
        if (pid_ == 0) {
            dup2(out[1], 1);
            dup2(out[1], 2);
            if (chdir(folder.c_str()) != 0) _exit(1);
            execlp("python3", "python3", "-u", "-m", "http.server", "0", "--bind", "127.0.0.1",
                   nullptr);
            _exit(127);
        }
        close(out[1]);
        FILE* in = fdopen(out[0], "r");
        char line[512];
        while (in && fgets(line, sizeof line, in))
            if (std::sscanf(line, "Serving HTTP on %*s port %d", &port_) == 1) break;
        // Keep reading the log so the server never blocks on a full pipe.
        std::thread([in] {
            char sink[512];
            while (in && fgets(sink, sizeof sink, in)) {
            }
            if (in) fclose(in);
        }).detach();
    }
    ~LoopbackServer() {
        if (pid_ > 0) {
            kill(pid_, SIGTERM);
            waitpid(pid_, nullptr, 0);
        }
    }
    std::string url(const std::string& file) const {
        return "http://127.0.0.1:" + std::to_string(port_) + "/" + file;
    }
    int port() const { return port_; }

  private:
    pid_t pid_ = -1;
    int port_ = 0;
};

// The owner's thread of the updater, pumped by the test.
class MainQueue {
  public:
    std::function<void(std::function<void()>)> poster() {
        return [this](std::function<void()> fn) {
            std::lock_guard lock(mutex_);
            queue_.push_back(std::move(fn));
        };
    }
    // Runs queued work until `done` holds; false after `seconds`.
    bool pumpUntil(const std::function<bool()>& done, double seconds = 20) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
        while (!done()) {
            if (std::chrono::steady_clock::now() > end) return false;
            std::function<void()> fn;
            {
                std::lock_guard lock(mutex_);
                if (!queue_.empty()) {
                    fn = std::move(queue_.front());
                    queue_.pop_front();
                }
            }
            if (fn)
                fn();
            else
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return true;
    }

  private:
    std::mutex mutex_;
    std::deque<std::function<void()>> queue_;
};

}  // namespace updatetest
