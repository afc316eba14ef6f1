// Reading the environment.

#include "core/services.h"
#include "core_interface/system.h"

namespace qor::core {

std::int32_t environment_value(const char *name, char *buffer, std::int32_t size) {
    if (buffer == nullptr || size <= 0)
        return -1;
    buffer[0] = '\0';
    if (name == nullptr || name[0] == '\0')
        return 0;
    const int length = qor::system::environment_variable(name, buffer, size);
    if (length <= 0)
        buffer[0] = '\0';
    return length;
}

} // namespace qor::core
