// Every parameter code and every grouped editor, against data/summary_parameters.txt.
#include "tests/statistics/summary/record.h"

#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

using test::Record;
using test::record_of;
using test::word;

struct Row {
    std::int32_t code;
    std::string element;
    std::size_t slot;
    std::int32_t null_status;
};

struct ParameterFile {
    std::vector<Row> rows;
    std::map<std::string, std::map<std::size_t, std::size_t>> groups; // name, position, slot

    ParameterFile() {
        std::ifstream file(QOR_TEST_DATA "/summary_parameters.txt");
        for (std::string text; std::getline(file, text);) {
            if (text.starts_with('#'))
                continue;
            std::istringstream line(text);
            Row row;
            line >> row.code >> row.element >> row.slot >> row.null_status;
            for (std::string use; line >> use;) {
                const std::size_t colon = use.find(':');
                groups[use.substr(0, colon)][std::stoul(use.substr(colon + 1))] = row.slot;
            }
            rows.push_back(row);
        }
    }
};

struct EditTask {
    const char *name;
    std::string element;
    std::int32_t (*entry)(void *, std::int32_t, const void *);
};
const EditTask single_code_editors[] = {
    {"s", "real", __bexsSSEditTask}, {"d", "real", __bexdSSEditTask}, {"i", "integer", __bexiSSEditTask}};

TEST(SummaryEditors, EveryCodeWithEveryEditor) {
    const ParameterFile file;
    ASSERT_EQ(file.rows.size(), 79u);
    test::Task task;
    Record expected = record_of(task.handle);
    std::vector<double> places(3 * file.rows.size());
    std::size_t place = 0;
    for (const EditTask &editor : single_code_editors)
        for (const Row &row : file.rows) {
            SCOPED_TRACE(std::string(editor.name) + " " + std::to_string(row.code));
            const void *const value = &places[place++];
            const bool takes = row.element == editor.element;
            EXPECT_EQ(editor.entry(task.handle, row.code, nullptr), takes ? row.null_status : -3);
            EXPECT_EQ(record_of(task.handle), expected);
            EXPECT_EQ(editor.entry(nullptr, row.code, value), -4031);
            EXPECT_EQ(editor.entry(task.handle, row.code, value), takes ? 0 : -3);
            if (takes)
                expected[row.slot] = word(value);
            EXPECT_EQ(record_of(task.handle), expected);
        }
}

TEST(SummaryEditors, CodesOutsideTheTable) {
    test::Task task;
    const Record before = record_of(task.handle);
    for (const EditTask &editor : single_code_editors)
        for (std::int32_t code : {0, -1, 80, 256 + 7, 65536 + 5, std::numeric_limits<std::int32_t>::min(),
                                  std::numeric_limits<std::int32_t>::max()})
            for (const void *value : {static_cast<const void *>(nullptr), static_cast<const void *>(&task)}) {
                EXPECT_EQ(editor.entry(task.handle, code, value), -3) << editor.name << code;
                EXPECT_EQ(editor.entry(nullptr, code, value), -4031) << editor.name << code;
            }
    EXPECT_EQ(record_of(task.handle), before);
}

using Values = std::vector<const void *>;

struct GroupedEditor {
    bool one_address;
    std::size_t arity;
    std::function<std::int32_t(void *, const Values &)> call;
};

template <class... Value>
GroupedEditor grouped(std::int32_t (*single)(void *, Value...), std::int32_t (*twice)(void *, Value...)) {
    return {single == twice, sizeof...(Value), [=](void *task, const Values &values) {
                return [&]<std::size_t... k>(std::index_sequence<k...>) {
                    return single(task, values.at(k)...);
                }
                (std::index_sequence_for<Value...>{});
            }};
}

TEST(SummaryEditors, Groups) {
#define GROUP(name)                                                                                          \
    { #name, grouped(__bexsSSEdit##name, __bexdSSEdit##name) }
    const std::map<std::string, GroupedEditor> editors = {
        GROUP(Moments),          GROUP(Sums),         GROUP(CovCor),    GROUP(CP),
        GROUP(PartialCovCor),    GROUP(MtxParametrz), GROUP(Quantiles), GROUP(StreamQuantiles),
        GROUP(PooledCovariance), GROUP(RCov),         GROUP(OutDetect), GROUP(MissingVals)};
#undef GROUP
    const ParameterFile file;
    ASSERT_EQ(file.groups.size(), editors.size());
    const double places[2][10] = {};
    for (const auto &[name, slots] : file.groups) {
        SCOPED_TRACE(name);
        const GroupedEditor &editor = editors.at(name);
        EXPECT_TRUE(editor.one_address);
        ASSERT_EQ(editor.arity, slots.size());
        test::Task task;
        Record expected = record_of(task.handle);
        const auto edit = [&](const Values &values) {
            EXPECT_EQ(editor.call(nullptr, values), -4031);
            EXPECT_EQ(editor.call(task.handle, values), 0);
            for (const auto &[position, slot] : slots)
                if (values[position - 1] != nullptr)
                    expected[slot] = word(values[position - 1]);
            EXPECT_EQ(record_of(task.handle), expected);
        };
        Values all;
        for (std::size_t k = 0; k < slots.size(); ++k)
            all.push_back(&places[0][k]);
        edit(all);
        edit(Values(slots.size()));
        for (std::size_t k = 0; k < slots.size(); ++k) {
            Values one(slots.size());
            one[k] = &places[1][k];
            edit(one);
        }
    }
}

} // namespace
