// Report: the outcome of a stage, and how an outcome is shown and carried.
//
// A stage of the front end, and the run as a whole, end in one Report. The kind "check" means that
// all is well; any other kind names what stopped the work, and the picture of the Report goes to
// standard error. A Report also travels through a running program, as the text of an abort Value.
#pragma once

#include <string_view>

#include "text/string.h"
#include "value/value.h"

namespace marl {

struct Report {
    String say;             // the sentence for the user
    String kind = "check";  // one word; "check" for success
    String vip;             // a detail line, mostly a position code or a name
    String tip;             // a detail line: a name or a second position
    String way;             // a piece of program text, in the internal character code
};

inline bool passed(const Report& report) { return report.kind == "check"; }

/// The first three lines of a picture, with `word` in the place of the kind.
String picture_head(std::string_view word);

/// What the user sees of a Report that stopped the run. Empty fields take no line.
String report_picture(const Report& report);
/// The same on standard error, in the terminal's own colours.
void show_report(const Report& report);

/// A Report as one balanced bracket text, and back. The text that is parsed must be one that
/// `report_text` made.
String report_text(const Report& report);
Report report_parse(const String& text);

/// The abort Value that carries a Report out of a running program.
Value report_value(const Report& report);

/// At most 72 bytes of the text, with the brackets that the cut leaves open closed again. Braces
/// count as brackets when `wings` is set.
String clip_text(std::string_view text, bool wings);

/// A text made fit for a detail line of a Report: a longer one than 72 bytes is cut, and one of
/// five bytes is marked, so that it can't be taken for a position code.
String fit_line(std::string_view text);

/// Appends a line, which must end in a newline, to the record of impossible cases, "/tmp/both.bug".
/// Nothing happens when that file can't be written.
void bug_note(const String& line);

}  // namespace marl
