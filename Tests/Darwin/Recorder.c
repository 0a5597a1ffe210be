// Stands in for a program of the system's under that program's name: notes its words in /test/record, one program a
// line, and what else it was given in /test/given, says that it ran and ends with the number in /test/status, if there
// is one. Under two names it starts the program of its first word instead: new-session, by posix_spawn in a session of
// its own; as-ann, as an ordinary user.

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <stdio.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

static void noteLimit(FILE* given, const char* name, int resource) {
    struct rlimit limit = {0, 0};
    getrlimit(resource, &limit);
    fprintf(given, "limit %s %llu\n", name, (unsigned long long)limit.rlim_cur);
}

static void noteGiven(FILE* given, const char* descriptors) {
    fprintf(given, "descriptors%s\n", descriptors);
    fprintf(given, "session %s\n", getsid(0) == getpid() ? "own" : "other");
    fprintf(given, "group %s\n", getpgrp() == getpid() ? "own" : "other");
    fprintf(given, "mask %03o\n", (unsigned)umask(022));
    for (int number = 1; number < NSIG; ++number) {
        struct sigaction action;
        if (sigaction(number, NULL, &action) == 0 && action.sa_handler == SIG_IGN) {
            fprintf(given, "ignored %d\n", number);
        }
    }
    char folder[1024] = "";
    fprintf(given, "folder %s\n", getcwd(folder, sizeof folder) != NULL ? folder : "none");
    noteLimit(given, "file", RLIMIT_FSIZE);
    noteLimit(given, "time", RLIMIT_CPU);
    noteLimit(given, "open", RLIMIT_NOFILE);
    noteLimit(given, "stack", RLIMIT_STACK);
    noteLimit(given, "core", RLIMIT_CORE);
    for (char** entry = environ; *entry != NULL; ++entry) {
        fprintf(given, "variable %s\n", *entry);
    }
}

static int startInNewSession(char* argv[]) {
    enum { newSession = 0x400 }; // POSIX_SPAWN_SETSID
    posix_spawnattr_t attributes;
    pid_t child = -1;
    int status = 1;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, newSession);
    if (posix_spawn(&child, argv[0], NULL, &attributes, argv, environ) == 0) {
        waitpid(child, &status, 0);
    }
    return status;
}

int main(int argc, char* argv[]) {
    const char* const slash = strrchr(argv[0], '/');
    const char* const name = slash != NULL ? slash + 1 : argv[0];
    if (argc > 1 && strcmp(name, "new-session") == 0) {
        return startInNewSession(argv + 1);
    }
    if (argc > 1 && strcmp(name, "as-ann") == 0) {
        enum { ann = 501 };
        if (setuid(ann) == 0) {
            execv(argv[1], argv + 1);
        }
        perror(argv[1]);
        return 1;
    }
    char descriptors[8192] = "";
    size_t length = 0;
    for (int number = 0; number < 1024; ++number) {
        if (fcntl(number, F_GETFD) != -1) {
            length += (size_t)snprintf(descriptors + length, sizeof descriptors - length, " %d", number);
        }
    }
    FILE* const given = fopen("/test/given", "w");
    FILE* const record = fopen("/test/record", "a");
    if (given == NULL || record == NULL) {
        perror("/test");
        return 1;
    }
    noteGiven(given, descriptors);
    fclose(given);
    fputs(name, record);
    for (int index = 1; index < argc; ++index) {
        fprintf(record, " [%s]", argv[index]);
    }
    fputs("\n", record);
    fclose(record);
    if (strcmp(name, "sleep") != 0) { // which is silent
        printf("%s says this\n", name);
    }
    int status = 0;
    FILE* const wanted = fopen("/test/status", "r");
    if (wanted != NULL && fscanf(wanted, "%d", &status) != 1) {
        status = 1;
    }
    return status;
}
