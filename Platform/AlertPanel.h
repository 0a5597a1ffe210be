#pragma once

#include <cstdint>
#include <string>

namespace orvane {

/// What the user answered, with the values of `NSRunAlertPanel`.
enum AlertPanelAnswer : std::int32_t {
    kAlertPanelDefault = 1,
    kAlertPanelAlternate = 0,
    kAlertPanelOther = -1,
};

/// The texts of a question. None is a format: a percent sign stands for itself.
struct AlertPanelTexts {
    std::string title;
    std::string message;
    std::string defaultButton;
    std::string alternateButton;
    std::string otherButton;
};

/// A question with three answers (`NSRunAlertPanel`). May be used from any thread; AppKit's is shown on the
/// main one, in its run loop.
class AlertPanel {
  public:
    /// The user's screen. Without a desktop the answer is always the alternate button. Lives for ever.
    static AlertPanel& platform();

    /// Shows the panel and waits for the answer: one of `AlertPanelAnswer`, or another number when the panel was ended
    /// by something else.
    virtual std::int32_t run(const AlertPanelTexts& texts) = 0;

  protected:
    ~AlertPanel() = default;
};

} // namespace orvane
