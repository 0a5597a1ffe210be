#import <Orvane/Orvane.h>

#include <cctype>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <objc/runtime.h>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

// The list says what applications call; the runtime says what the face answers.

namespace {

struct Row {
    char kind = 0;
    std::string owner;
    std::string selector;
    std::string result;
    std::vector<std::string> arguments;
};

std::vector<Row> rows() {
    std::vector<Row> result;
    std::ifstream file(ORVANE_SOURCE_DIR "/Tests/Framework/selectors.txt");
    std::string line;
    while (std::getline(file, line)) {
        if (line.empty() || line.front() == '#') {
            continue;
        }
        std::istringstream words(line);
        Row row;
        std::string word;
        words >> row.kind >> row.owner >> row.selector >> row.result;
        while (words >> word) {
            row.arguments.push_back(word);
        }
        result.push_back(row);
    }
    return result;
}

std::string encodingOf(const std::string& type) {
    static const std::map<std::string, std::string> encodings = {
        {"void", @encode(void)},       {"object", @encode(id)},           {"Class", @encode(Class)},
        {"BOOL", @encode(BOOL)},       {"int32", @encode(int32_t)},       {"int64", @encode(int64_t)},
        {"uint64", @encode(uint64_t)}, {"NSInteger", @encode(NSInteger)}, {"int32*", @encode(int32_t*)},
        {"char**", @encode(char**)},   {"double", @encode(double)},
    };
    const auto found = encodings.find(type);
    return found != encodings.end() ? found->second : "no such type: " + type;
}

/// What an encoded type says beyond the type: qualifiers and the places of the arguments.
std::string bare(const char* encoding) {
    std::string result;
    for (const char* c = encoding; *c != '\0'; ++c) {
        if (std::isdigit(static_cast<unsigned char>(*c)) == 0 &&
            std::string("rnNoORV+-").find(*c) == std::string::npos) {
            result += *c;
        }
    }
    return result;
}

/// The types of a method as the list writes them, encoded: result, receiver, selector, arguments.
std::string encodingOf(const Row& row) {
    std::string result = encodingOf(row.result) + @encode(id) + @encode(SEL);
    for (const std::string& argument : row.arguments) {
        result += encodingOf(argument);
    }
    return result;
}

class SelectorTest : public testing::Test {
  protected:
    SelectorTest() : pool_([[NSAutoreleasePool alloc] init]) {}
    ~SelectorTest() override { [pool_ release]; }

  private:
    NSAutoreleasePool* pool_;
};

TEST_F(SelectorTest, EveryMethodIsAnsweredWithItsTypes) {
    std::size_t checked = 0;
    for (const Row& row : rows()) {
        if (row.kind == '=') {
            continue;
        }
        SCOPED_TRACE(std::string(1, row.kind) + "[" + row.owner + " " + row.selector + "]");
        Class const owner = objc_getClass(row.owner.c_str());
        ASSERT_NE(owner, Nil);
        SEL const selector = sel_registerName(row.selector.c_str());
        Method const method =
            row.kind == '-' ? class_getInstanceMethod(owner, selector) : class_getClassMethod(owner, selector);
        ASSERT_NE(method, static_cast<Method>(nullptr));
        EXPECT_EQ(bare(method_getTypeEncoding(method)), bare(encodingOf(row).c_str()));
        ++checked;
    }
    EXPECT_GT(checked, 100U);
}

TEST_F(SelectorTest, ClassesImplementTheirMethodsThemselves) {
    for (const Row& row : rows()) {
        if (row.kind == '=') {
            continue;
        }
        SCOPED_TRACE("[" + row.owner + " " + row.selector + "]");
        Class const owner = objc_getClass(row.owner.c_str());
        SEL const selector = sel_registerName(row.selector.c_str());
        Method const own =
            row.kind == '-' ? class_getInstanceMethod(owner, selector) : class_getClassMethod(owner, selector);
        Method const inherited = row.kind == '-' ? class_getInstanceMethod(class_getSuperclass(owner), selector)
                                                 : class_getClassMethod(class_getSuperclass(owner), selector);
        EXPECT_NE(method_getImplementation(own), inherited != nullptr ? method_getImplementation(inherited) : nullptr);
    }
}

TEST_F(SelectorTest, ProtocolsRequireTheirMethodsAndNoOthers) {
    std::map<std::string, std::set<std::pair<std::string, std::string>>> expected;
    for (const Row& row : rows()) {
        if (row.kind == '=') {
            expected[row.owner].emplace(row.selector, bare(encodingOf(row).c_str()));
        }
    }
    EXPECT_EQ(expected.size(), 3U);
    for (const auto& [name, methods] : expected) {
        SCOPED_TRACE(name);
        Protocol* const protocol = objc_getProtocol(name.c_str());
        ASSERT_NE(protocol, nil);
        EXPECT_TRUE(protocol_conformsToProtocol(protocol, objc_getProtocol("NSObject")));
        unsigned int count = 0;
        objc_method_description* const list = protocol_copyMethodDescriptionList(protocol, YES, YES, &count);
        std::set<std::pair<std::string, std::string>> found;
        for (unsigned int index = 0; index < count; ++index) {
            found.emplace(sel_getName(list[index].name), bare(list[index].types));
        }
        free(list);
        EXPECT_EQ(found, methods);
    }
}

TEST_F(SelectorTest, TheRunnerIsAShellCommandsDelegate) {
    EXPECT_TRUE([OVTaskRunner conformsToProtocol:objc_getProtocol("OVShellCommandDelegate")]);
    EXPECT_TRUE([ZRBytesValueTransformer isSubclassOfClass:[NSValueTransformer class]]);
}

} // namespace
