#include "update/UpdaterStandIn.h"

#include "settings/AppVersion.h"

namespace vistrel::app {

std::string UpdaterStandIn::currentVersion() const {
    return AppVersion::current().shortVersion;
}

}  // namespace vistrel::app
