#pragma once

#import <Foundation/Foundation.h>
#include <objc/runtime.h>

/// While it lives the class's method is another one. A class method is the metaclass's.
class ReplacedMethod {
  public:
    ReplacedMethod(Class owner, SEL selector, IMP replacement)
        : method_(class_getInstanceMethod(owner, selector)), previous_(method_setImplementation(method_, replacement)) {
    }
    ReplacedMethod(const ReplacedMethod&) = delete;
    ReplacedMethod& operator=(const ReplacedMethod&) = delete;
    ~ReplacedMethod() { method_setImplementation(method_, previous_); }

  private:
    Method method_;
    IMP previous_;
};

/// While it lives the class's method raises: an exception, or any other object.
class Raising : ReplacedMethod {
  public:
    Raising(Class owner, SEL selector,
            id raised = [NSException exceptionWithName:@"OVTestException" reason:@"raised" userInfo:nil])
        : ReplacedMethod(owner, selector, reinterpret_cast<IMP>(raise)) {
        raised_ = raised;
    }

  private:
    static id raise(id /*self*/, SEL /*selector*/) { @throw raised_; }

    inline static id raised_ = nil;
};

/// While it lives the class's method has this answer.
class Answering : ReplacedMethod {
  public:
    Answering(Class owner, SEL selector, id answer) : ReplacedMethod(owner, selector, reinterpret_cast<IMP>(answered)) {
        answer_ = answer;
    }

  private:
    static id answered(id /*self*/, SEL /*selector*/) { return answer_; }

    inline static id answer_ = nil;
};
