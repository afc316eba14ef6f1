// The rows of data/brng_rows.txt.
#pragma once

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace test {

struct GeneratorRow {
    std::uint32_t index, id, members;
    std::int32_t properties[5];
    std::string name;
    std::int64_t first_compact, last_compact; // -1 for none
    char supported[3]; // leapfrog, skip-ahead, extended: '+', '-', '?' where it depends on the stream
};

inline std::vector<GeneratorRow> generator_rows() {
    std::ifstream file(QOR_TEST_DATA "/brng_rows.txt");
    std::vector<GeneratorRow> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#')
            continue;
        GeneratorRow row;
        std::istringstream words(line);
        std::string id, first, last;
        words >> row.index >> id >> row.members;
        for (std::int32_t &property : row.properties)
            words >> property;
        words >> row.name >> first >> last;
        for (char &supported : row.supported)
            words >> supported;
        row.id = static_cast<std::uint32_t>(std::stoul(id, nullptr, 16));
        row.first_compact = first == "-" ? -1 : std::stol(first);
        row.last_compact = last == "-" ? -1 : std::stol(last);
        rows.push_back(row);
    }
    return rows;
}

} // namespace test
