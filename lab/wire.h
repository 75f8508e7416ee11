// Numbers and texts between two processes of one program, over a descriptor.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>

#include "lab/frames.h"

namespace marl::lab {

/// Collects what is to be sent.
class Packet {
  public:
    void put(int64_t number) { bytes_.append(reinterpret_cast<const char*>(&number), 8); }
    void put(const std::string& text) {
        put(static_cast<int64_t>(text.size()));
        bytes_ += text;
    }
    bool send(int descriptor) const { return write_all(descriptor, bytes_); }

  private:
    std::string bytes_;
};

/// Takes it in the same order. Once something is missing, all is 0 and empty, and `is_good` false.
class Taker {
  public:
    explicit Taker(int descriptor) : descriptor_(descriptor) {}

    int64_t number() {
        int64_t value = 0;
        fill(reinterpret_cast<char*>(&value), sizeof value);
        return is_good_ ? value : 0;
    }
    std::string text() {
        std::string value(static_cast<size_t>(number()), '\0');
        fill(value.data(), value.size());
        return is_good_ ? value : std::string();
    }
    bool is_good() const { return is_good_; }

  private:
    void fill(char* to, size_t size) {
        while (is_good_ && size > 0) {
            const ssize_t got = read(descriptor_, to, size);
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0) is_good_ = false;
            if (got <= 0) return;
            to += got;
            size -= static_cast<size_t>(got);
        }
    }

    const int descriptor_;
    bool is_good_ = true;
};

}  // namespace marl::lab
