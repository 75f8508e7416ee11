// Messages with a header, on a pair of descriptors: the framing of the language server protocol.
//
// What comes in is not trusted. A frame that can't be made out is told as such, and the reading
// goes on with the next header that can.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace marl::lab {

struct Frame {
    enum class Kind { message, fault, end };
    Kind kind;
    std::string text;  // the body of a message, or what is wrong
};

class FrameReader {
  public:
    explicit FrameReader(int descriptor) : descriptor_(descriptor) {}

    /// The next frame; waits for it.
    Frame next();
    /// Whether some of the next frame has come already, or the end has.
    bool has_more() const;

  private:
    bool fill();
    bool take_line(std::string& line);
    bool take(size_t size, std::string& body);
    bool skip(size_t size);

    int descriptor_;
    std::string buffer_;
    size_t at_ = 0;  // of what is still to be taken
};

/// Whether all bytes could be written, whatever interrupts it.
bool write_all(int descriptor, std::string_view bytes);
/// Whether the message could be written.
bool write_frame(int descriptor, std::string_view body);

}  // namespace marl::lab
