// xargs for the stage, as Apple's is and GNU's is not: -0 and -I STRING. With -I the words of a line are joined by one
// blank, a line that ends in a blank is joined with the next, and only results of less than 255 bytes are put in.
// Tests/Darwin/xargs-test compares it with the real one.
// Leaves out: all other options, -I without a utility.

#include <err.h>
#include <errno.h>
#include <fcntl.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

enum {
    argumentSpace = 1 << 20, // of a command with its environment, the last page of which is left free
    page = 4096,
    mostWords = 5000,
    mostReplacements = 5, // words of the command in which something is replaced
    replacementSpace = 255,
};

extern char** environ;

static char** command; // with room behind its own words for those that are read
static int ownWords;
static char* placeholder; // of -I
static int status;

// What has been read since the last run: words that end with NUL, the last of them unfinished, from start on. With -I
// they are in the line, too.
static char text[argumentSpace];
static size_t space, used, start;
static int words;
static bool quoted; // the unfinished one
static char line[argumentSpace];

static void execute(char* argv[]) {
    static volatile int error; // the child writes to our memory
    const pid_t child = vfork();
    if (child == 0) {
        close(STDIN_FILENO);
        open("/dev/null", O_RDONLY);
        execvp(argv[0], argv);
        error = errno;
        _exit(1);
    }
    int ended = 0;
    if (child == -1 || waitpid(child, &ended, 0) == -1) {
        err(1, "%s", argv[0]);
    }
    if (error != 0) {
        errx(error == ENOENT ? 127 : 126, "%s: %s", argv[0], strerror(error));
    }
    if (WIFSIGNALED(ended)) {
        errx(1, "%s: terminated with signal %d; aborting", argv[0], WTERMSIG(ended));
    }
    if (WEXITSTATUS(ended) == 255) {
        errx(1, "%s: exited with status 255; aborting", argv[0]);
    }
    if (ended != 0) {
        status = 1;
    }
}

// The word with the line in the placeholder's places, from the left as long as there is space. What has no space is
// cut.
static char* withLine(const char* word) {
    char* const result = calloc(1, replacementSpace);
    if (result == NULL) {
        err(1, NULL);
    }
    const bool odd = strlen(word) == replacementSpace; // which the real one copies
    const size_t growth = strlen(line) - strlen(placeholder);
    const char* place;
    while (!odd && (place = strstr(word, placeholder)) != NULL &&
           strlen(result) + strlen(word) + growth < replacementSpace) {
        strncat(result, word, (size_t)(place - word));
        strcat(result, line);
        word = place + strlen(placeholder);
    }
    return strncat(result, word, replacementSpace - 1 - strlen(result));
}

static void runOnLine(void) {
    char* argv[ownWords + 1];
    int replacements = 0;
    argv[0] = command[0];
    for (int index = 1; index <= ownWords; ++index) {
        argv[index] = command[index];
        if (command[index] != NULL && replacements < mostReplacements && strstr(command[index], placeholder) != NULL) {
            argv[index] = withLine(command[index]);
            ++replacements;
        }
    }
    execute(argv);
    for (int index = 1; index < ownWords; ++index) {
        if (argv[index] != command[index]) {
            free(argv[index]);
        }
    }
    line[0] = '\0';
}

static void runOnWords(void) {
    command[ownWords + words] = NULL;
    if (words > 0) {
        execute(command);
    }
}

static void run(void) {
    if (placeholder != NULL) {
        runOnLine();
    } else {
        runOnWords();
    }
    memmove(text, text + start, used - start);
    used -= start;
    start = 0;
    words = 0;
}

static void addByte(int byte) {
    if (used == space) {
        if (words == 0) {
            errx(1, "insufficient space for argument");
        }
        run();
    }
    text[used++] = (char)byte;
}

// Empty words count if they are quoted.
static void endWord(void) {
    if (used == start && !quoted) {
        return;
    }
    quoted = false;
    addByte('\0');
    if (placeholder == NULL) {
        command[ownWords + words] = text + start;
    } else {
        strcat(line, line[0] != '\0' ? " " : "");
        strcat(line, text + start);
    }
    start = used;
    if (++words == mostWords) {
        run();
    }
}

static void readWordsBetweenNulls(void) {
    int byte;
    while ((byte = getchar()) != EOF) {
        if (byte != '\0') {
            addByte(byte);
            continue;
        }
        endWord();
        if (placeholder != NULL) {
            run();
        }
    }
}

static void readQuotedWords(void) {
    int byte;
    int quote = 0;
    bool atStart = true;     // of a line
    bool afterBlank = false; // not after a tab
    while ((byte = getchar()) != EOF) {
        if (byte == '\n') {
            if (atStart) {
                continue;
            }
            if (quote != 0) {
                errx(1, "unterminated quote");
            }
            endWord();
            if (placeholder != NULL && !afterBlank) {
                run();
            }
            atStart = true;
            afterBlank = false;
            continue;
        }
        atStart = false;
        const bool wasAfterBlank = afterBlank;
        afterBlank = byte == ' ';
        if (quote != 0 ? byte == quote : byte == '"' || byte == '\'') {
            quote = quote != 0 ? 0 : byte;
            quoted = true;
        } else if (quote == 0 && (byte == ' ' || byte == '\t')) {
            endWord();
        } else {
            if (byte == '\\' && quote == 0) {
                byte = getchar();
                afterBlank = wasAfterBlank && byte == ' '; // odd, and so in the real one
            }
            if (byte == EOF) {
                errx(1, "backslash at EOF");
            }
            addByte(byte);
        }
    }
    if (quote != 0 && used > 0) {
        errx(1, "unterminated quote");
    }
}

int main(int argc, char* argv[]) {
    static char* echo[] = {"echo", NULL};
    bool nulls = false;
    opterr = 0;
    for (int option; (option = getopt(argc, argv, "+0I:")) != -1;) {
        if (option == '?') {
            errx(1, "the stage's knows the options -0 and -I STRING");
        }
        nulls |= option == '0';
        placeholder = option == 'I' ? optarg : placeholder;
    }
    if (placeholder != NULL && (placeholder[0] == '\0' || optind == argc)) {
        errx(1, "%s", placeholder[0] == '\0' ? "replstr may not be empty" : "the stage's wants a utility with -I");
    }
    char** const utility = optind < argc ? argv + optind : echo;
    space = argumentSpace - page;
    for (char** entry = environ; *entry != NULL; ++entry) {
        space -= strlen(*entry) + 1 + sizeof *entry;
    }
    for (; utility[ownWords] != NULL; ++ownWords) {
        space -= strlen(utility[ownWords]) + 1;
    }
    command = calloc((size_t)ownWords + mostWords + 1, sizeof *command);
    if (command == NULL) {
        err(1, NULL);
    }
    memcpy(command, utility, (size_t)ownWords * sizeof *command);
    if (nulls) {
        readWordsBetweenNulls();
    } else {
        readQuotedWords();
    }
    if (used > 0) {
        endWord();
        run();
    }
    return status;
}
