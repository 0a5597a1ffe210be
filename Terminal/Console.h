#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace orvane::terminal {

enum class Colour { automatic, always, never };

/// Where the program's texts go: what it answers to standard output, what it asks and what happens meanwhile to
/// standard error.
class Console {
  public:
    explicit Console(Colour colour = Colour::automatic) : colour_(colour) {}

    void setColour(Colour colour) { colour_ = colour; }

    /// Whether somebody can be asked: standard input and standard error are terminals.
    static bool canAsk();
    /// Whether a line can be drawn over itself on standard error.
    static bool canRedraw();

    /// Columns of standard output, or of standard error: COLUMNS, else the terminal's, asked anew; where it is no
    /// terminal, more than any text has.
    static std::size_t columns(int descriptor = 1);

    enum class Style { bold, dim, red, green, yellow };
    /// The text with the style, where standard output (or standard error) gets colours.
    [[nodiscard]] std::string styled(Style style, std::string_view text, int descriptor = 1) const;

    /// Adds a line to what is to be printed; what is there is printed when there is much of it, and by `flush`. False
    /// when nobody reads it any more.
    bool print(std::string_view line);
    bool flush();

    /// "orvane: text" on standard error, after what stands on standard output so far.
    void complain(std::string_view text);

    /// Writes all of it, past interruptions; false when it could not be.
    static bool write(int descriptor, std::string_view text);

  private:
    Colour colour_;
    std::string pending_;
};

} // namespace orvane::terminal
