#include "ArgumentCheck.h"

#include <algorithm>
#include <cmath>

namespace vistrel::mcp::ArgumentCheck {

using nlohmann::json;

namespace {

bool hasType(const json& value, const std::string& type) {
    if (type == "object") return value.is_object();
    if (type == "array") return value.is_array();
    if (type == "string") return value.is_string();
    if (type == "boolean") return value.is_boolean();
    if (type == "number") return value.is_number();
    if (type == "integer") {
        if (value.is_number_integer()) return true;
        // JSON has one kind of number: 2.0 is an integer, 2.5 is not.
        const double number = value.get<double>();
        return value.is_number_float() && std::isfinite(number) && std::trunc(number) == number;
    }
    return value.is_null() && type == "null";
}

std::string typeWord(const std::string& type) {
    if (type == "number") return "a number";
    if (type == "integer") return "an integer";
    if (type == "string") return "a text";
    if (type == "boolean") return "true or false";
    if (type == "array") return "an array";
    if (type == "object") return "an object";
    return type;
}

std::string typeWords(const json& types) {
    if (types.is_string()) return typeWord(types.get<std::string>());
    std::string words;
    for (const auto& t : types)
        words += (words.empty() ? "" : " or ") + typeWord(t.get<std::string>());
    return words;
}

// 120, not 120.0, for a person or a model to read.
std::string numberText(const json& number) {
    const double value = number.get<double>();
    if (std::trunc(value) == value && std::abs(value) < 1e15) return std::to_string(int64_t(value));
    return number.dump();
}

std::string named(const std::string& where) {
    return where.empty() ? "the arguments" : "'" + where + "'";
}

std::optional<std::string> check(const json& schema, const json& value, const std::string& where) {
    if (const auto types = schema.find("type"); types != schema.end()) {
        const bool matches = types->is_string()
                                 ? hasType(value, types->get<std::string>())
                                 : std::any_of(types->begin(), types->end(), [&](const json& t) {
                                       return hasType(value, t.get<std::string>());
                                   });
        if (!matches) return named(where) + " must be " + typeWords(*types);
    }
    if (const auto words = schema.find("enum"); words != schema.end()) {
        if (std::find(words->begin(), words->end(), value) == words->end())
            return named(where) + " must be one of " + words->dump();
    }
    if (value.is_number()) {
        const double number = value.get<double>();
        if (const auto low = schema.find("minimum");
            low != schema.end() && number < low->get<double>())
            return named(where) + " must be at least " + numberText(*low);
        if (const auto high = schema.find("maximum");
            high != schema.end() && number > high->get<double>())
            return named(where) + " must be at most " + numberText(*high);
    }
    if (value.is_string()) {
        if (const auto low = schema.find("minLength");
            low != schema.end() && value.get_ref<const std::string&>().size() < low->get<size_t>())
            return named(where) + " must not be empty";
    }
    if (value.is_array()) {
        if (const auto low = schema.find("minItems");
            low != schema.end() && value.size() < low->get<size_t>())
            return named(where) + " needs at least " + low->dump() + " items";
        if (const auto high = schema.find("maxItems");
            high != schema.end() && value.size() > high->get<size_t>())
            return named(where) + " takes at most " + high->dump() + " items";
        if (const auto items = schema.find("items"); items != schema.end()) {
            for (size_t i = 0; i < value.size(); ++i)
                if (auto fault = check(*items, value[i], where + "[" + std::to_string(i) + "]"))
                    return fault;
        }
    }
    if (value.is_object()) {
        const json none = json::object();
        const auto found = schema.find("properties");
        const json& properties = found != schema.end() ? *found : none;
        if (const auto required = schema.find("required"); required != schema.end()) {
            for (const auto& key : *required)
                if (!value.contains(key.get<std::string>()))
                    return "'" + key.get<std::string>() + "' is required";
        }
        const auto additional = schema.find("additionalProperties");
        const bool closed = additional != schema.end() && *additional == false;
        for (const auto& [key, item] : value.items()) {
            const std::string at = where.empty() ? key : where + "." + key;
            if (const auto property = properties.find(key); property != properties.end()) {
                if (auto fault = check(*property, item, at)) return fault;
            } else if (closed) {
                std::string known;
                for (const auto& [name, _] : properties.items())
                    known += (known.empty() ? "" : ", ") + name;
                return "unknown argument '" + at + "'" +
                       (known.empty() ? ": this tool takes none" : "; known: " + known);
            }
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::string> violation(const json& schema, const json& value) {
    return check(schema, value, "");
}

}  // namespace vistrel::mcp::ArgumentCheck
