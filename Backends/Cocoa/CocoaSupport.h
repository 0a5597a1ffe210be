#pragma once

#include "Backends/Cocoa/GNUstepCompatibility.h"
#include "Support/OVLog.h"

#import <Foundation/Foundation.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

/// What all the adapters need. For Objective-C++ without reference counting by the compiler.
namespace orvane::cocoa {

/// An autoreleased string of UTF-8 text. Bytes that are not UTF-8 stand for a character each, so that there always is a
/// string.
NSString* stringOf(std::string_view text);

/// An autoreleased string of a path (`stringWithFileSystemRepresentation:length:`), also of one that is not UTF-8.
NSString* stringOfPath(std::string_view path);

/// The text as UTF-8; halves of a pair that stand alone are replaced. Empty for nil.
std::string textOf(NSString* string);

/// The same, but nothing for nil.
std::optional<std::string> optionalTextOf(NSString* string);

/// Logs an exception, an object of any class, that ended at an adapter's edge.
void logException(id exception);

/// Does the work with an autorelease pool around it, which a C++ caller need not have. An Objective-C exception
/// ends here: it is noted and the answer is `failure`.
template <typename Answer, typename Work, typename Note = void (*)(id)>
Answer guarded(Answer failure, Work&& work, Note note = logException) {
    @autoreleasepool {
        @try {
            return std::forward<Work>(work)();
        } @catch (id exception) {
            note(exception);
        }
    }
    return failure;
}

/// The same for work whose every answer is one: nothing is the failure.
template <typename Work> auto guardedAnswer(Work&& work) {
    using Answer = std::optional<decltype(work())>;
    return guarded(Answer(), [&] { return Answer(work()); });
}

/// Does the work on the main thread and waits for it. From another thread it is carried there and done when the main
/// run loop comes to it in one of the common modes, which it must: a main thread that itself waits for this one ends in
/// neither going on. The work raises nothing.
void onMainThread(const std::function<void()>& work);

/// `guarded`, on the main thread, where AppKit wants its work.
template <typename Answer, typename Work> Answer guardedOnMainThread(Answer failure, const Work& work) {
    Answer answer = failure;
    onMainThread([&] { answer = guarded(std::move(failure), work); });
    return answer;
}

/// The same for work whose every answer is one: nothing is the failure.
template <typename Work> auto guardedAnswerOnMainThread(const Work& work) {
    using Answer = std::optional<decltype(work())>;
    return guardedOnMainThread(Answer(), [&] { return Answer(work()); });
}

/// Adds a timer to the calling thread's run loop, in the common modes: until that ends it keeps the target and sends it
/// the message again and again.
void addRepeatingTimer(double seconds, id target, SEL selector);

/// One reference to an object.
template <typename Object> class Retained {
  public:
    explicit Retained(Object* object) : object_([object retain]) {}
    Retained(const Retained&) = delete;
    Retained& operator=(const Retained&) = delete;
    /// With a pool, which a C++ caller need not have: the object that goes may ask its server, as a pasteboard does.
    ~Retained() {
        @autoreleasepool {
            [object_ release];
        }
    }

    [[nodiscard]] Object* get() const { return object_; }

  private:
    Object* object_;
};

} // namespace orvane::cocoa
