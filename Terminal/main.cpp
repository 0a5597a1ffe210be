#include "Terminal/CommandLine.h"

int main(int count, char* words[]) {
    return orvane::terminal::runCommandLine(count, words);
}
