// How the commands that run a program show on a terminal what they tell.
#pragma once

#include <cstdio>
#include <string>

#include "lab/lab.h"

namespace marl::lab {

/// Where lines go, and how they look there.
class Screen {
  public:
    /// On a file, or on standard output when `path` is empty. What can't be written ends the
    /// process with the status 2.
    Screen(const std::string& path, const std::string& colour);

    /// Each line goes out at once, behind what the program has written.
    void line(const std::string& text);

    std::string faint(const std::string& text) const { return in(text, "2", "", ""); }
    std::string strong(const std::string& text) const {
        return in(text, "1;33", "\u00AB", "\u00BB");
    }
    std::string word(const std::string& text) const { return in(text, "36", "", ""); }

  private:
    std::string in(const std::string& text, const char* colour, const char* before,
                   const char* behind) const;

    [[noreturn]] void give_up() const;

    const std::string path_;
    FILE* file_ = stdout;
    bool colours_ = false;
};

/// Whether what is written to a file has colours: `when` is "auto", "always" or "never". The
/// environment's NO_COLOR is heard, and with "auto" only a terminal gets any.
bool has_colours(FILE* file, const std::string& when);

/// A text on one line: control bytes as their pictures.
std::string on_one_line(const std::string& text);

void show_step(Screen& screen, const Step& step);
void show_call(Screen& screen, const CallLine& call);
void show_why(Screen& screen, const Why& why);

}  // namespace marl::lab
