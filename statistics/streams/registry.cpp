// The registry: two tables of generator rows, made from one list.
#include "statistics/streams/registry.h"

#include <atomic>
#include <iterator>

namespace qor::bex {

struct Table {
    BrngProperties rows[table_rows];
};

namespace {

struct Generator {
    BrngProperties row;
    std::int32_t members;
    std::int32_t compact_row; // the first of its rows in the compact table, one a member; -1 for none
};

#define QOR_ENTRIES(name) __bexBRng##name##InitStream, __bexsBRng##name, __bexdBRng##name, __bexiBRng##name
constexpr Generator generators[] = {
    {{24, 1, 0, 4, 31, QOR_ENTRIES(MCG31M1)}, 1, 0},
    {{1024, 252, 1, 4, 32, QOR_ENTRIES(R250)}, 1, 1},
    {{40, 6, 1, 4, 32, QOR_ENTRIES(MRG32K3A)}, 1, 2},
    {{32, 1, 0, 8, 59, QOR_ENTRIES(MCG59)}, 1, 3},
    {{48, 4, 1, 16, 24, QOR_ENTRIES(WH)}, 273, 4},
    {{11712, 2604, 0, 4, 32, QOR_ENTRIES(Sobol)}, 1, 277},
    {{84288, 10498, 0, 4, 32, QOR_ENTRIES(Niederr)}, 1, 278},
    {{2520, 625, 1, 4, 32, QOR_ENTRIES(MT19937)}, 1, -1},
    {{312, 70, 1, 4, 32, QOR_ENTRIES(MT2203)}, 6024, -1},
    {{48, 0, 1, 4, 32, QOR_ENTRIES(iAbstract)}, 1, -1},
    {{64, 0, 1, 4, 32, QOR_ENTRIES(dAbstract)}, 1, -1},
    {{56, 0, 1, 4, 32, QOR_ENTRIES(sAbstract)}, 1, -1},
    {{2536, 625, 1, 4, 32, QOR_ENTRIES(SFMT19937)}, 1, -1},
    {{24, 1, 1, 4, 32, QOR_ENTRIES(TRNG)}, 1, -1},
    {{72, 8, 1, 4, 32, QOR_ENTRIES(ARS5)}, 1, -1},
    {{64, 8, 1, 4, 32, QOR_ENTRIES(PHILOX4X32X10)}, 1, -1},
};
#undef QOR_ENTRIES

constexpr std::int32_t built_in = static_cast<std::int32_t>(std::size(generators));

constexpr Table compact_rows() {
    Table table{};
    for (const Generator &generator : generators)
        for (std::int32_t i = 0; generator.compact_row >= 0 && i < generator.members; ++i)
            table.rows[generator.compact_row + i] = generator.row;
    return table;
}

constexpr Table registered_rows() {
    Table table{};
    for (std::int32_t i = 0; i < built_in; ++i)
        table.rows[i] = generators[i].row;
    return table;
}

struct MemberCounts {
    std::int32_t rows[table_rows];
};

constexpr MemberCounts member_counts() {
    MemberCounts counts{};
    for (std::int32_t i = 0; i < built_in; ++i)
        counts.rows[i] = generators[i].members;
    return counts;
}

constexpr std::uint32_t compact_ids = 281;        // two more than there are rows
constexpr Id first_set_id = 4, last_set_id = 276; // compact ids that share a row
constexpr Id first_registered_id = 0x100000;      // row 0 of the registered table
constexpr std::uint32_t row_shift = 20, member_mask = 0xFFFFF;

constinit MemberCounts members = member_counts();
// Rows below the count are complete, whichever thread looks.
constinit std::atomic<std::int32_t> rows_in_use = built_in;

} // namespace

// Arrays to their users; a function can only return them wrapped.
extern constinit const Table compact_table __asm__("__RegBrngs");
extern constinit Table registered_table __asm__("__RegBrngsNew");
constinit const Table compact_table = compact_rows();
constinit Table registered_table = registered_rows();

RowPlace resolve(Id id) {
    if (id >= first_registered_id)
        return {registered_table.rows, (id >> row_shift) - 1, id & member_mask};
    if (id >= first_set_id && id <= last_set_id)
        return {compact_table.rows, first_set_id, id - first_set_id};
    return {compact_table.rows, id, 0};
}

std::int32_t validate(const RowPlace &place) {
    bool valid = false;
    if (place.table == compact_table.rows)
        valid = place.row < compact_ids;
    else if (place.table == registered_table.rows)
        valid = place.row < static_cast<std::uint32_t>(rows_in_use.load(std::memory_order_acquire)) &&
                place.member < static_cast<std::uint32_t>(members.rows[place.row]);
    return valid ? status_ok : status_bad_id;
}

const BrngProperties *row_of(const Stream &stream) {
    const RowPlace place = resolve(stream.brng);
    if (place.row >= table_rows)
        return nullptr;
    const BrngProperties *row = place.table + place.row;
    return row->init_stream != nullptr ? row : nullptr;
}

} // namespace qor::bex

using namespace qor::bex;

const BrngProperties *__bexGetBrngBaseOffset(std::uint32_t id, std::uint32_t *row, std::uint32_t *member) {
    const RowPlace place = resolve(id);
    *row = place.row;
    *member = place.member;
    return place.table;
}

std::int32_t __bexIsBrngValid(const BrngProperties *table, std::uint32_t row, std::uint32_t member) {
    return validate({table, row, member});
}

std::int32_t __bexGetBrngProperties(std::uint32_t id, BrngProperties *properties) {
    const RowPlace place = resolve(id);
    const std::int32_t status = validate(place);
    if (status == status_ok)
        *properties = place.table[place.row];
    return status;
}

std::int32_t __bexGetNumRegBrngs() { return rows_in_use.load(std::memory_order_acquire); }

std::uint32_t __bexGetStreamStateBrng(const void *stream) {
    return static_cast<const Stream *>(stream)->brng;
}

std::int32_t __bexRegisterBrng(const BrngProperties *properties) {
    const BrngProperties &row = *properties;
    if (row.state_bytes < 0)
        return status_bad_state_bytes;
    if (row.word_bytes != 4 && row.word_bytes != 8 && row.word_bytes != 16)
        return status_bad_word_bytes;
    if (row.seed_words < 1)
        return status_bad_seed_words;
    if (row.result_bits < 1)
        return status_bad_result_bits;
    if (row.out_double == nullptr || row.out_float == nullptr || row.out_uint == nullptr ||
        row.init_stream == nullptr)
        return status_null_entry;
    const std::int32_t index = rows_in_use.load(std::memory_order_relaxed);
    if (index >= static_cast<std::int32_t>(table_rows))
        return status_table_full;
    registered_table.rows[index] = row;
    members.rows[index] = 1;
    rows_in_use.store(index + 1, std::memory_order_release);
    return static_cast<std::int32_t>((static_cast<Id>(index) << row_shift) + first_registered_id);
}
