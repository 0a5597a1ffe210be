#pragma once

#include "Terminal/Console.h"

#include <string>

namespace orvane::terminal {

enum class Answer { yes, no, interrupted };

/// Asks on standard error and waits for a line of standard input. Yes is "y" or "yes", in the user's language, too;
/// anything else, an empty line and the end of the input are no. What was typed before is not an answer.
Answer askYesOrNo(const std::string& question);

/// The same, but only that text is yes.
Answer askForText(const std::string& question, const std::string& text);

} // namespace orvane::terminal
