// What the fuzz targets share: the fuzzer's bytes as a file path for the file
// routes, and as a stream of doubles and counts for the numeric calls.
#ifndef TOLVEX_FUZZ_FUZZINPUT_H
#define TOLVEX_FUZZ_FUZZINPUT_H

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>

// The bytes as an in-memory file, reachable by path while this lives.
class FuzzFile {
public:
    FuzzFile(const uint8_t* data, size_t size) : fd_(memfd_create("tolvex-fuzz", 0))
    {
        if (fd_ >= 0 && write(fd_, data, size) != static_cast<ssize_t>(size)) {
            close(fd_);
            fd_ = -1;
        }
        std::snprintf(path_, sizeof path_, "/proc/self/fd/%d", fd_);
    }
    ~FuzzFile()
    {
        if (fd_ >= 0)
            close(fd_);
    }
    FuzzFile(const FuzzFile&) = delete;
    FuzzFile& operator=(const FuzzFile&) = delete;
    bool ok() const { return fd_ >= 0; }
    char* path() { return path_; }

private:
    int fd_;
    char path_[48];
};

// Doubles and counts drawn from the bytes; each value first takes a byte that
// picks either a hostile constant or the raw bits of the next eight bytes.
// Past the end every value is 0.
class FuzzNumbers {
public:
    FuzzNumbers(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    uint8_t byte() { return pos_ < size_ ? data_[pos_++] : 0; }

    double real()
    {
        static const double kSpecial[] = {
            0.0, -0.0, 1.0, -1.0, 90.0, 180.0, -180.0, 360.0, 1e-5, 1e9, 1e12, 1e300, 1e308,
            -1e308, std::numeric_limits<double>::denorm_min(),
            std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
            -std::numeric_limits<double>::infinity()};
        constexpr unsigned kCount = sizeof kSpecial / sizeof kSpecial[0];
        const uint8_t pick = byte();
        if (pick < kCount)
            return kSpecial[pick];
        if (pick < 128)  // small values, where the arm and the profiles do their work
            return (static_cast<int>(byte()) - 128) * 1.5 + byte() / 256.0;
        double v;
        uint64_t bits = 0;
        for (int k = 0; k < 8; ++k)
            bits = bits << 8 | byte();
        std::memcpy(&v, &bits, sizeof v);
        return v;
    }

    void reals(double* out, int n)
    {
        for (int i = 0; i < n; ++i)
            out[i] = real();
    }

    // Counts: mostly small, sometimes anything a long holds.
    long count()
    {
        const uint8_t pick = byte();
        if (pick < 200)
            return static_cast<long>(pick % 20) - 5;
        uint64_t bits = 0;
        for (int k = 0; k < 8; ++k)
            bits = bits << 8 | byte();
        long v;
        std::memcpy(&v, &bits, sizeof v);
        return v;
    }

private:
    const uint8_t* data_;
    size_t size_;
    size_t pos_ = 0;
};

#endif
