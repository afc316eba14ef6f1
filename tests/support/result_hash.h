// Hashes of results, one line a case in the file that QOR_HASH_FILE names: the test script compares these
// files of all builds and both systems.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace test {

// FNV-1a over the elements' words. The bits of a NaN are free where a kernel makes one.
class ResultHash {
  public:
    void add(const void *data, std::size_t bytes, std::size_t element) {
        for (std::size_t i = 0; i < bytes; i += element) {
            std::uint64_t word = 0;
            std::memcpy(&word, static_cast<const char *>(data) + i, element);
            const bool nan = element == 4 ? (word & 0x7FFFFFFF) > 0x7F800000 : (word << 1) > (0x7FFull << 53);
            value_ = (value_ ^ (nan ? 1 : word)) * 0x100000001B3;
        }
    }
    template <class T> void add(const std::vector<T> &values) {
        add(values.data(), values.size() * sizeof(T), sizeof(T));
    }
    std::uint64_t value() const { return value_; }

  private:
    std::uint64_t value_ = 0xCBF29CE484222325;
};

class HashFile {
  public:
    HashFile() {
        const char *name = std::getenv("QOR_HASH_FILE");
        wanted_ = name != nullptr;
        file_ = wanted_ ? std::fopen(name, "wb") : nullptr;
    }
    HashFile(const HashFile &) = delete;
    HashFile &operator=(const HashFile &) = delete;
    ~HashFile() {
        if (file_ != nullptr)
            std::fclose(file_);
    }
    bool wanted() const { return wanted_; }
    bool is_open() const { return file_ != nullptr; }
    void write(const std::string &name, const ResultHash &hash) {
        std::fprintf(file_, "%s %016llx\n", name.c_str(), static_cast<unsigned long long>(hash.value()));
    }

  private:
    bool wanted_;
    std::FILE *file_;
};

} // namespace test
