// From a generator id to its row.
#pragma once

#include "statistics/streams/stream.h"

#include <algorithm>

namespace qor::bex {

inline constexpr std::uint32_t table_rows = 512;

struct RowPlace {
    const BrngProperties *table;
    std::uint32_t row, member;
};

// Where the id scheme puts an id; nothing says yet that a generator is there.
RowPlace resolve(Id id);
std::int32_t validate(const RowPlace &place);

// The row of a stream that exists, or null where its id leads to none. The member is not looked at.
const BrngProperties *row_of(const Stream &stream);

// Bytes of a stream's record. A row may claim less than the header.
inline std::uint64_t record_bytes(const BrngProperties &row) {
    return std::max<std::uint64_t>(static_cast<std::uint32_t>(row.state_bytes), sizeof(Stream));
}

} // namespace qor::bex
