// The message catalogue.
//
// A heading names the function it is about; the value lines below it show the arguments and results
// of the element concerned. Numbers are printed with 17 digits, enough to give every double back.

#include "core/services.h"
#include "core_interface/core.h"
#include "core_interface/system.h"

#include <cmath>
#include <cstddef>
#include <cstdio>

namespace qor::core {
namespace {

// What stands after the words of a line.
enum class Shows : std::uint8_t { function, value, nothing };

struct Message {
    std::int32_t number;
    Shows shows;
    const char *words;
};

constexpr std::int32_t after(CoreMessage first, std::int32_t lines) {
    return static_cast<std::int32_t>(first) + lines;
}

constexpr Message catalogue[] = {
    {message_bad_argument, Shows::function, "qor_fyn: wrong length or stride in"},
    {message_bad_pointer, Shows::function, "qor_fyn: null array pointer in"},
    {message_domain, Shows::function, "qor_fyn: argument outside the domain of"},
    {message_singularity, Shows::function, "qor_fyn: argument at a pole of"},
    {message_overflow, Shows::function, "qor_fyn: result too large in"},
    {message_underflow, Shows::function, "qor_fyn: result too small in"},
    {message_warning, Shows::function, "qor_fyn: reduced accuracy or other warning in"},
    {after(message_one_argument, 0), Shows::value, "    argument 1 ="},
    {after(message_one_argument, 1), Shows::value, "    result 1   ="},
    {after(message_one_argument_two_results, 0), Shows::value, "    argument 1 ="},
    {after(message_one_argument_two_results, 1), Shows::value, "    result 1   ="},
    {after(message_one_argument_two_results, 2), Shows::value, "    result 2   ="},
    {after(message_two_arguments, 0), Shows::value, "    argument 1 ="},
    {after(message_two_arguments, 1), Shows::value, "    argument 2 ="},
    {after(message_two_arguments, 2), Shows::value, "    result 1   ="},
    {after(message_two_arguments_two_results, 0), Shows::value, "    argument 1 ="},
    {after(message_two_arguments_two_results, 1), Shows::value, "    argument 2 ="},
    {after(message_two_arguments_two_results, 2), Shows::value, "    result 1   ="},
    {after(message_two_arguments_two_results, 3), Shows::value, "    result 2   ="},
    {message_no_thread_record, Shows::nothing, "qor_fyn: no memory for the state of this thread"},
};

const Message *find(std::int32_t number) {
    for (const Message &message : catalogue) {
        if (message.number == number)
            return &message;
    }
    return nullptr;
}

// C libraries differ in how they spell what is not finite, so those are spelled here.
int compose_value(char *line, std::size_t size, const char *words, double value) {
    if (std::isnan(value))
        return std::snprintf(line, size, "%s nan\n", words);
    if (std::isinf(value))
        return std::snprintf(line, size, "%s %s\n", words, value < 0 ? "-inf" : "inf");
    return std::snprintf(line, size, "%s %.17g\n", words, value);
}

int compose(char *line, std::size_t size, const Message &message, const char *text, double value) {
    switch (message.shows) {
    case Shows::function:
        // 200 bytes of a name, so that the line end always fits.
        return std::snprintf(line, size, "%s %.200s\n", message.words, text != nullptr ? text : "(no name)");
    case Shows::value:
        return compose_value(line, size, message.words, value);
    case Shows::nothing:
        break;
    }
    return std::snprintf(line, size, "%s\n", message.words);
}

} // namespace

std::int32_t print_message(void *stream, std::int32_t number, const char *text, double value) {
    const Message *const message = find(number);
    if (message == nullptr)
        return 0;
    char line[320];
    const int length = compose(line, sizeof line, *message, text, value);
    if (length <= 0 || static_cast<std::size_t>(length) >= sizeof line)
        return -1;
    return qor::system::write_bytes(stream, line, static_cast<unsigned long long>(length));
}

} // namespace qor::core
