// Reads a measured series: one number a line, lines that begin with # left out.
#pragma once

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

inline std::vector<double> read_series(const char *path) {
    std::vector<double> data;
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);)
        if (!line.empty() && line[0] != '#')
            data.push_back(std::strtod(line.c_str(), nullptr));
    return data;
}
