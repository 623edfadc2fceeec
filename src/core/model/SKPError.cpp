#include "model/SKPError.h"

#include "settings/Localization.h"

namespace vistrel {

SKPError SKPError::sketchUpNotFound(std::vector<std::filesystem::path> searched) {
    SKPError e(Kind::sketchUpNotFound);
    e.searched_ = std::move(searched);
    return e;
}

SKPError SKPError::api(std::string function, int32_t code) {
    SKPError e(Kind::api);
    e.function_ = std::move(function);
    e.code_ = code;
    return e;
}

SKPError SKPError::unreadable(std::filesystem::path url) {
    SKPError e(Kind::unreadable);
    e.url_ = std::move(url);
    return e;
}

SKPError SKPError::unreadable(std::filesystem::path url, std::string reasonFr,
                              std::string reasonEn) {
    SKPError e(Kind::unreadable);
    e.url_ = std::move(url);
    e.reasonFr_ = std::move(reasonFr);
    e.reasonEn_ = std::move(reasonEn);
    return e;
}

std::string SKPError::reason() const {
    return reasonFr_.empty() && reasonEn_.empty() ? std::string() : L(reasonFr_, reasonEn_);
}

SKPError SKPError::cancelled() {
    return SKPError(Kind::cancelled);
}

std::string SKPError::errorDescription() const {
    switch (kind_) {
        case Kind::cancelled:
            return L("Chargement annulé.", "Loading cancelled.");
        case Kind::unreadable: {
            std::string name = url_.filename().string();
            std::string text = L("Fichier illisible : ", "Unreadable file: ") + name;
            if (std::string why = reason(); !why.empty())
                text += (name.empty() ? "" : " \u2014 ") + why;
            return text;
        }
        case Kind::api: {
            std::string tail = " \u2192 " + std::to_string(code_) + ").";
            return L("Erreur de l'API SketchUp (", "SketchUp API error (") + function_ + tail;
        }
        case Kind::sketchUpNotFound:
            return L(
                "Framework SketchUp introuvable : Vistrel.app semble incomplet "
                "(Contents/Frameworks/SketchUpAPI.framework). Réinstallez l'app.",
                "SketchUp framework not found: Vistrel.app looks incomplete "
                "(Contents/Frameworks/SketchUpAPI.framework). Reinstall the app.");
    }
    return {};
}

const char* SKPError::what() const noexcept {
    try {
        what_ = errorDescription();
    } catch (...) {
        return "SKPError";
    }
    return what_.c_str();
}

}  // namespace vistrel
