#pragma once

#include <cstdint>

namespace orvane {

/// A four-character code, as Carbon writes it: the first character is the highest byte.
constexpr std::uint32_t fourCharacterCode(const char (&code)[5]) {
    return static_cast<std::uint32_t>(code[0]) << 24U | static_cast<std::uint32_t>(code[1]) << 16U |
           static_cast<std::uint32_t>(code[2]) << 8U | static_cast<std::uint32_t>(code[3]);
}

inline constexpr std::uint32_t gestaltSystemVersion = fourCharacterCode("sysv");
inline constexpr std::uint32_t gestaltSystemVersionMajor = fourCharacterCode("sys1");
inline constexpr std::uint32_t gestaltSystemVersionMinor = fourCharacterCode("sys2");
inline constexpr std::uint32_t gestaltSystemVersionBugFix = fourCharacterCode("sys3");

inline constexpr std::int16_t gestaltUndefSelectorErr = -5551; ///< a question that the system does not know
inline constexpr std::int16_t gestaltUnknownErr = -5550;       ///< the system could not find out

/// Questions about the running system (CoreServices' `Gestalt`; without it "SystemVersion.plist").
class Gestalt {
  public:
    /// The running system. Lives for ever; may be used from any thread.
    static Gestalt& platform();

    /// `Gestalt`: answers the question into `response` and returns 0 (`noErr`); otherwise returns the error and
    /// leaves `response` alone.
    virtual std::int16_t ask(std::uint32_t selector, std::int32_t* response) = 0;

  protected:
    ~Gestalt() = default;
};

} // namespace orvane
