// The SKPError a call throws, or nothing when it returns: one line per expected failure.
#pragma once

#include <optional>

#include "model/SKPError.h"

namespace vistrel::test {

template <class Call>
std::optional<SKPError> thrownError(Call&& call) {
    try {
        call();
    } catch (const SKPError& e) {
        return e;
    }
    return std::nullopt;
}

}  // namespace vistrel::test
