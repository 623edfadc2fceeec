// The header's $INSUNITS as metres per drawing unit, shared by the DXF readers.
#pragma once

namespace vistrel::DXFUnits {

inline float metresPerUnit(int insUnits) {
    switch (insUnits) {
        case 1:
            return 0.0254f;
        case 2:
            return 0.3048f;
        case 4:
            return 0.001f;
        case 5:
            return 0.01f;
        case 7:
            return 1000.0f;
        default:
            return 1.0f;  // 3 (miles) is deliberately left at 1
    }
}

}  // namespace vistrel::DXFUnits
