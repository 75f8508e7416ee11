// A header is lines up to an empty one, of which only Content-Length counts. Behind a header that
// has no good length nobody knows where its body ends. So a length is looked for anywhere in a
// line: where a body has been taken for lines of a header, the next header stands behind it.
#include "lab/frames.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <optional>

namespace marl::lab {

namespace {

constexpr size_t most_bytes = size_t{64} << 20;  // of a body
constexpr size_t most_line = 4096;               // what is longer is no line of a header

bool same_letter(char a, char b) {
    return std::tolower(static_cast<unsigned char>(a)) ==
           std::tolower(static_cast<unsigned char>(b));
}

/// What stands behind "Content-Length:" in a line; nothing when it is another line.
std::optional<std::string_view> written_length(std::string_view line) {
    constexpr std::string_view name = "content-length:";
    const auto at = std::find_end(line.begin(), line.end(), name.begin(), name.end(), same_letter);
    if (at == line.end()) return std::nullopt;
    line.remove_prefix(static_cast<size_t>(at - line.begin()) + name.size());
    while (!line.empty() && line.front() == ' ') line.remove_prefix(1);
    while (!line.empty() && (line.back() == ' ' || line.back() == '\r')) line.remove_suffix(1);
    return line;
}

std::optional<size_t> size_of(std::string_view digits) {
    size_t size = 0;
    const char* end = digits.data() + digits.size();
    const auto [behind, fault] = std::from_chars(digits.data(), end, size);
    if (fault != std::errc() || behind != end) return std::nullopt;
    return size;
}

}  // namespace

bool FrameReader::fill() {
    buffer_.erase(0, at_);
    at_ = 0;
    char bytes[1 << 16];
    ssize_t size = 0;
    do size = read(descriptor_, bytes, sizeof bytes);
    while (size < 0 && errno == EINTR);
    if (size <= 0) return false;
    buffer_.append(bytes, static_cast<size_t>(size));
    return true;
}

/// A line, or what will do for one of a line that is too long.
bool FrameReader::take_line(std::string& line) {
    size_t looked = at_;
    for (;;) {
        const size_t end = buffer_.find('\n', looked);
        if (end != buffer_.npos || buffer_.size() - at_ > most_line) {
            const size_t size = std::min(end, buffer_.size()) - at_;
            line = buffer_.substr(at_, size);
            at_ = std::min(at_ + size + 1, buffer_.size());
            return true;
        }
        looked = buffer_.size() - at_;
        if (!fill()) return false;
    }
}

bool FrameReader::take(size_t size, std::string& body) {
    body.clear();
    while (size > 0) {
        if (at_ == buffer_.size() && !fill()) return false;
        const size_t part = std::min(size, buffer_.size() - at_);
        body.append(buffer_, at_, part);
        at_ += part;
        size -= part;
    }
    return true;
}

bool FrameReader::skip(size_t size) {
    while (size > 0) {
        if (at_ == buffer_.size() && !fill()) return false;
        const size_t part = std::min(size, buffer_.size() - at_);
        at_ += part;
        size -= part;
    }
    return true;
}

Frame FrameReader::next() {
    std::optional<std::string> length;
    for (std::string line; take_line(line);) {
        if (const auto written = written_length(line)) length = *written;
        if (line != "\r" && !line.empty()) continue;
        if (!length) continue;  // an empty line that ends nothing
        const auto size = size_of(*length);
        if (!size) return {Frame::Kind::fault, "Content-Length is no number that can be one."};
        Frame frame{Frame::Kind::message, {}};
        if (*size <= most_bytes) {
            if (!take(*size, frame.text)) break;
            return frame;
        }
        if (!skip(*size)) break;
        return {Frame::Kind::fault, "The message is too long."};
    }
    return {Frame::Kind::end, {}};
}

bool FrameReader::has_more() const {
    if (at_ < buffer_.size()) return true;
    pollfd waiting{descriptor_, POLLIN, 0};
    return poll(&waiting, 1, 0) > 0;
}

bool write_all(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t size = write(descriptor, bytes.data(), bytes.size());
        if (size < 0 && errno == EINTR) continue;
        if (size <= 0) return false;
        bytes.remove_prefix(static_cast<size_t>(size));
    }
    return true;
}

bool write_frame(int descriptor, std::string_view body) {
    const std::string frame =
        "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + std::string(body);
    return write_all(descriptor, frame);
}

}  // namespace marl::lab
