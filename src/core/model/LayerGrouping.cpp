#include "model/LayerGrouping.h"

#include "model/TextFolding.h"

#include <utf8proc.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace vistrel {

namespace {

constexpr std::string_view kSeparators = "-_/:| ";

bool isSeparator(char c) {
    return kSeparators.find(c) != std::string_view::npos;
}

bool isWhite(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

std::string_view trim(std::string_view s, bool (*pred)(char)) {
    while (!s.empty() && pred(s.front())) s.remove_prefix(1);
    while (!s.empty() && pred(s.back())) s.remove_suffix(1);
    return s;
}

std::string asciiLower(std::string_view s) {
    std::string r(s);
    for (char& c : r)
        if (c >= 'A' && c <= 'Z') c = char(c + 32);
    return r;
}

std::string fold(std::string_view s) {
    return foldCaseAndDiacritics(s);
}
std::string lower(std::string_view s) {
    return lowercased(s);
}

// Code points of a UTF-8 string; invalid bytes count as one each.
std::vector<std::pair<int32_t, size_t>> codePoints(std::string_view s) {
    std::vector<std::pair<int32_t, size_t>> cps;  // code point, byte offset
    size_t i = 0;
    while (i < s.size()) {
        utf8proc_int32_t cp;
        auto n = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(s.data() + i),
                                  utf8proc_ssize_t(s.size() - i), &cp);
        if (n <= 0) {
            cp = static_cast<unsigned char>(s[i]);
            n = 1;
        }
        cps.emplace_back(cp, i);
        i += size_t(n);
    }
    return cps;
}

size_t characterCount(std::string_view s) {
    return codePoints(s).size();
}

// The pattern "\d+$": trailing decimal digits of any script.
std::string stripTrailingDigits(std::string_view s) {
    auto cps = codePoints(s);
    size_t end = s.size();
    for (auto it = cps.rbegin(); it != cps.rend(); ++it) {
        if (utf8proc_category(it->first) != UTF8PROC_CATEGORY_ND) break;
        end = it->second;
    }
    return std::string(s.substr(0, end));
}

// The normal form of a token used in bucket keys and split keys.
std::string normalForm(std::string_view token, bool stripDigits) {
    std::string r = fold(token);
    if (stripDigits) {
        std::string stripped = stripTrailingDigits(r);
        if (characterCount(stripped) >= 2) r = std::move(stripped);
    }
    if (characterCount(r) > 4 && r.ends_with("s") && !r.ends_with("ss")) r.pop_back();
    return r;
}

std::vector<std::string> tokens(std::string_view name) {
    std::vector<std::string> out;
    name = trim(name, isWhite);
    size_t start = 0;
    for (size_t i = 0; i <= name.size(); ++i) {
        if (i == name.size() || isSeparator(name[i])) {
            std::string_view piece = trim(name.substr(start, i - start), isWhite);
            if (!piece.empty()) out.emplace_back(piece);
            start = i + 1;
        }
    }
    return out;
}

// Byte range of the first match of `needle` in `hay` at or after `from`, comparing folded text.
std::optional<std::pair<size_t, size_t>> foldedFind(std::string_view hay, std::string_view needle,
                                                    size_t from) {
    const std::string target = fold(needle);
    if (target.empty()) return std::nullopt;
    auto cps = codePoints(hay);
    std::vector<size_t> bounds;
    for (auto& [cp, off] : cps) bounds.push_back(off);
    bounds.push_back(hay.size());
    for (size_t a = 0; a + 1 < bounds.size(); ++a) {
        if (bounds[a] < from) continue;
        for (size_t b = a + 1; b < bounds.size(); ++b) {
            std::string f = fold(hay.substr(bounds[a], bounds[b] - bounds[a]));
            if (f == target) return std::pair{bounds[a], bounds[b]};
            if (f.size() > target.size() || target.compare(0, f.size(), f) != 0) break;
        }
    }
    return std::nullopt;
}

// When `name` begins with `prefix` (folded), the byte offset in `name` where the prefix ends.
std::optional<size_t> foldedPrefixEnd(std::string_view name, std::string_view prefix) {
    auto m = foldedFind(name, prefix, 0);
    if (m && m->first == 0) return m->second;
    return std::nullopt;
}

std::string computeGroupDisplayName(const std::vector<int>& members,
                                    const std::vector<Layer>& layers,
                                    const std::vector<std::vector<std::string>>& allTokens) {
    if (members.empty()) return {};
    const auto& t = allTokens[size_t(members[0])];
    if (t.empty()) return layers[size_t(members[0])].name;
    size_t p = t.size();
    for (size_t k = 1; k < members.size(); ++k) {
        const auto& other = allTokens[size_t(members[k])];
        size_t limit = std::min(p, other.size());
        size_t agree = 0;
        while (agree < limit && fold(t[agree]) == fold(other[agree])) ++agree;
        p = agree;
    }
    if (p == 0) {
        std::string stripped = stripTrailingDigits(t[0]);
        return stripped.empty() ? t[0] : stripped;
    }
    std::string_view s = trim(layers[size_t(members[0])].name, isWhite);
    size_t cursor = 0;
    for (size_t k = 0; k < p; ++k)
        if (auto m = foldedFind(s, t[k], cursor)) cursor = std::max(cursor, m->second);
    std::string_view candidate = trim(s.substr(0, cursor), isSeparator);
    if (!candidate.empty()) return std::string(candidate);
    std::string joined;
    for (size_t k = 0; k < p; ++k) joined += (k ? " " : "") + t[k];
    return joined;
}

std::string idFromName(const std::string& name) {
    std::string lower = asciiLower(name);
    std::string out;
    bool inRun = false;
    for (char c : lower) {
        bool keep = (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
        if (keep) {
            out += c;
            inRun = false;
        } else if (!inRun) {
            out += '-';
            inRun = true;
        }
    }
    return "group-" + out;
}

bool isGeneric(const std::string& token) {
    return token == "2d" || token == "3d" || token == "w";
}

}  // namespace

std::vector<LayerGroup> buildLayerGroups(const std::vector<Layer>& layers) {
    std::vector<std::vector<std::string>> allTokens;
    allTokens.reserve(layers.size());
    for (const Layer& l : layers) allTokens.push_back(tokens(l.name));
    if (layers.empty()) return {};

    // Buckets in order of first use.
    std::vector<std::string> keys;
    std::unordered_map<std::string, std::vector<int>> buckets;
    for (int i = 0; i < int(layers.size()); ++i) {
        const Layer& layer = layers[size_t(i)];
        const auto& tok = allTokens[size_t(i)];
        std::string folder = layer.folder ? std::string(trim(*layer.folder, isWhite)) : "";
        std::string key;
        if (!folder.empty())
            key = "folder:" + lower(folder);
        else if (i == 0)
            key = "single:0";
        else if (tok.empty())
            key = "single:" + std::to_string(i);
        else
            key = "tok:" + normalForm(tok[0], tok.size() == 1);
        auto [it, inserted] = buckets.try_emplace(key);
        if (inserted) keys.push_back(key);
        it->second.push_back(i);
    }

    // Large name buckets split on the next token.
    std::vector<std::pair<std::string, std::vector<int>>> pairs;
    for (const std::string& key : keys) {
        std::vector<int>& members = buckets[key];
        if (key.starts_with("folder:") || members.size() <= 4) {
            pairs.emplace_back(key, std::move(members));
            continue;
        }
        const auto& first = allTokens[size_t(members[0])];
        std::string g = first.empty() ? "" : lower(first[0]);
        if (members.size() < 8 && !isGeneric(g)) {
            pairs.emplace_back(key, std::move(members));
            continue;
        }
        size_t p =
            (first.size() >= 2 && (lower(first[1]) == "2d" || lower(first[1]) == "3d")) ? 2 : 1;
        std::vector<std::string> subKeys;
        std::unordered_map<std::string, std::vector<int>> subs;
        for (int m : members) {
            const auto& tok = allTokens[size_t(m)];
            std::string sub = p < tok.size() ? normalForm(tok[p], true) : "_root_";
            auto [it, inserted] = subs.try_emplace(sub);
            if (inserted) subKeys.push_back(sub);
            it->second.push_back(m);
        }
        size_t shared = std::count_if(subKeys.begin(), subKeys.end(),
                                      [&](const std::string& k) { return subs[k].size() >= 2; });
        if (shared < 2) {
            pairs.emplace_back(key, std::move(members));
            continue;
        }
        std::vector<int> misc;
        for (const std::string& sk : subKeys) {
            auto& sm = subs[sk];
            if (sm.size() >= 2)
                pairs.emplace_back(key + "/" + sk, std::move(sm));
            else
                misc.push_back(sm[0]);
        }
        if (!misc.empty()) pairs.emplace_back(key + "/_misc", std::move(misc));
    }

    std::vector<LayerGroup> groups;
    groups.reserve(pairs.size());
    std::unordered_set<std::string> usedIds;
    for (auto& [key, members] : pairs) {
        const bool isFolder = key.starts_with("folder:");
        if (members.size() == 1 && !isFolder) {
            int i = members[0];
            const std::string& name = layers[size_t(i)].name;
            groups.push_back({"layer-" + std::to_string(i), name, {i}, {{i, name}}});
            continue;
        }
        LayerGroup group;
        const Layer& firstLayer = layers[size_t(members[0])];
        if (isFolder && firstLayer.folder && !firstLayer.folder->empty())
            group.name = *firstLayer.folder;
        else
            group.name = computeGroupDisplayName(members, layers, allTokens);
        for (int m : members) {
            std::string trimmed(trim(layers[size_t(m)].name, isWhite));
            std::string label = trimmed;
            if (!group.name.empty()) {
                if (auto end = foldedPrefixEnd(trimmed, group.name)) {
                    std::string_view rest =
                        trim(std::string_view(trimmed).substr(*end), isSeparator);
                    if (!rest.empty()) label = std::string(rest);
                }
            }
            group.memberLabels[m] = label;
        }
        group.id = idFromName(group.name);
        if (usedIds.contains(group.id)) group.id += "-" + std::to_string(members[0]);
        usedIds.insert(group.id);
        group.layerIndices = std::move(members);
        groups.push_back(std::move(group));
    }
    return groups;
}

}  // namespace vistrel
