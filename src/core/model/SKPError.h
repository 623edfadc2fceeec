// The failures of a model load. Exactly four kinds; the message is chosen in the language in
// force at the moment it is asked for, so a language switch changes the text of an old error.
#pragma once

#include <cstdint>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

namespace vistrel {

class SKPError : public std::exception {
  public:
    enum class Kind { sketchUpNotFound, api, unreadable, cancelled };

    static SKPError sketchUpNotFound(std::vector<std::filesystem::path> searched);
    // code -1 marks a failure of the binding itself rather than of a library call.
    static SKPError api(std::string function, int32_t code);
    static SKPError unreadable(std::filesystem::path url);
    // The same with the reason, in French and English, added after the file name.
    static SKPError unreadable(std::filesystem::path url, std::string reasonFr,
                               std::string reasonEn);
    static SKPError cancelled();

    Kind kind() const { return kind_; }
    const std::vector<std::filesystem::path>& searched() const { return searched_; }
    const std::string& function() const { return function_; }
    int32_t code() const { return code_; }
    const std::filesystem::path& url() const { return url_; }
    // The reason in the language in force; empty when none was given.
    std::string reason() const;

    // Text for people, French or English after Localization.
    std::string errorDescription() const;
    // Same as errorDescription(); the pointer lives until the next call on this object.
    const char* what() const noexcept override;

    friend bool operator==(const SKPError& a, const SKPError& b) {
        return a.kind_ == b.kind_ && a.searched_ == b.searched_ && a.function_ == b.function_ &&
               a.code_ == b.code_ && a.url_ == b.url_ && a.reasonFr_ == b.reasonFr_ &&
               a.reasonEn_ == b.reasonEn_;
    }

  private:
    explicit SKPError(Kind kind) : kind_(kind) {}
    Kind kind_;
    std::vector<std::filesystem::path> searched_;
    std::string function_;
    int32_t code_ = 0;
    std::filesystem::path url_;
    std::string reasonFr_, reasonEn_;
    mutable std::string what_;
};

}  // namespace vistrel
