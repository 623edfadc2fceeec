#include "update/ZipUnpacker.h"

#include <archive.h>
#include <archive_entry.h>

#include <memory>

#include "settings/Localization.h"
#include "update/UpdateError.h"

namespace vistrel {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void refuse(const char* detail) {
    throw UpdateError(UpdateError::badArchive,
                      L("Archive de mise à jour refusée : ", "Update archive refused: ") +
                          (detail ? detail : "zip"));
}

[[noreturn]] void refuse(const std::string& detail) {
    throw UpdateError(UpdateError::badArchive,
                      L("Archive de mise à jour refusée : ", "Update archive refused: ") + detail);
}

// Whether a relative path, taken from `base` inside the root, stays inside it.
bool staysInside(const fs::path& base, const fs::path& path) {
    if (path.empty() || path.is_absolute() || path.has_root_name()) return false;
    int depth = 0;
    for (const auto& part : base / path) {
        if (part == "..") {
            if (--depth < 0) return false;
        } else if (part != "." && !part.empty()) {
            ++depth;
        }
    }
    return true;
}

}  // namespace

void ZipUnpacker::unpack(const fs::path& archive, const fs::path& destination) {
    std::unique_ptr<struct archive, decltype(&archive_read_free)> reader(archive_read_new(),
                                                                         archive_read_free);
    std::unique_ptr<struct archive, decltype(&archive_write_free)> writer(archive_write_disk_new(),
                                                                          archive_write_free);
    archive_read_support_format_zip(reader.get());
    archive_write_disk_set_options(writer.get(), ARCHIVE_EXTRACT_TIME | ARCHIVE_EXTRACT_PERM |
                                                     ARCHIVE_EXTRACT_SECURE_SYMLINKS |
                                                     ARCHIVE_EXTRACT_SECURE_NODOTDOT);
    if (archive_read_open_filename(reader.get(), archive.c_str(), 1 << 16) != ARCHIVE_OK)
        refuse(archive_error_string(reader.get()));
    std::error_code error;
    fs::create_directories(destination, error);
    archive_entry* entry = nullptr;
    int entries = 0;
    for (;;) {
        const int status = archive_read_next_header(reader.get(), &entry);
        if (status == ARCHIVE_EOF) break;
        if (status < ARCHIVE_WARN) refuse(archive_error_string(reader.get()));
        const char* name = archive_entry_pathname(entry);
        const fs::path path = name ? fs::path(name) : fs::path();
        if (!staysInside({}, path)) refuse(path.string());
        if (const char* link = archive_entry_symlink(entry);
            link && !staysInside(path.parent_path(), link))
            refuse(path.string() + " -> " + link);
        if (const char* link = archive_entry_hardlink(entry); link) {
            if (!staysInside({}, link)) refuse(path.string() + " => " + link);
            archive_entry_set_hardlink(entry, (destination / link).c_str());
        }
        archive_entry_set_pathname(entry, (destination / path).c_str());
        if (archive_write_header(writer.get(), entry) < ARCHIVE_WARN)
            refuse(archive_error_string(writer.get()));
        const void* block = nullptr;
        size_t size = 0;
        la_int64_t offset = 0;
        int read = ARCHIVE_OK;
        while ((read = archive_read_data_block(reader.get(), &block, &size, &offset)) ==
               ARCHIVE_OK) {
            if (archive_write_data_block(writer.get(), block, size, offset) < ARCHIVE_WARN)
                refuse(archive_error_string(writer.get()));
        }
        if (read != ARCHIVE_EOF) refuse(archive_error_string(reader.get()));
        if (archive_write_finish_entry(writer.get()) < ARCHIVE_WARN)
            refuse(archive_error_string(writer.get()));
        ++entries;
    }
    if (archive_write_close(writer.get()) != ARCHIVE_OK) refuse(archive_error_string(writer.get()));
    if (entries == 0) refuse(L("archive vide", "empty archive"));
}

}  // namespace vistrel
