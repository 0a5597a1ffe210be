// A library to insert into the tool where a kernel keeps one user id a process and lets everybody become anybody: it
// answers as one that keeps three, PLAYED_IDS: the real, the effective and the saved one. To files the process is root,
// and a change of owner, which has no effect there, is noted in /test/owner. PLAYED_SWAP is a file that takes the place
// of the program PLAYED_PLACE before main, PLAYED_KERNEL the release that the kernel claims to be.

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/sysctl.h>
#include <unistd.h>

static uid_t real, effective, saved;
static const char* kernel; // the environment may be gone when it is asked for

static int answer(int allowed) {
    if (!allowed) {
        errno = EPERM;
        return -1;
    }
    return 0;
}

static uid_t played_getuid(void) {
    return real;
}

static uid_t played_geteuid(void) {
    return effective;
}

static int played_setuid(uid_t user) {
    const int allowed = effective == 0 || user == real || user == saved;
    if (effective == 0) {
        real = saved = user;
    }
    effective = allowed ? user : effective;
    return answer(allowed);
}

static int played_seteuid(uid_t user) {
    const int allowed = effective == 0 || user == real || user == saved;
    effective = allowed ? user : effective;
    return answer(allowed);
}

// Neither word is -1 here.
static int played_setreuid(uid_t newReal, uid_t newEffective) {
    const int allowed =
        effective == 0 || ((newReal == real || newReal == effective) &&
                           (newEffective == real || newEffective == effective || newEffective == saved));
    if (allowed) {
        real = newReal;
        effective = saved = newEffective;
    }
    return answer(allowed);
}

static int played_fchown(int file, uid_t user, gid_t group) {
    FILE* const owner = effective == 0 ? fopen("/test/owner", "w") : NULL;
    if (owner == NULL) {
        return answer(0);
    }
    fprintf(owner, "%d %d\n", (int)user, (int)group);
    fclose(owner);
    return fchown(file, user, group);
}

static int played_sysctlbyname(const char* name, void* value, size_t* size, void* newValue, size_t newSize) {
    if (kernel == NULL || strcmp(name, "kern.osrelease") != 0) {
        return sysctlbyname(name, value, size, newValue, newSize);
    }
    snprintf(value, *size, "%s", kernel);
    *size = strlen(kernel) + 1;
    return 0;
}

// Named and visible, or the linker takes it for something that nobody uses.
struct Replacement {
    const void *with, *what;
};
extern const struct Replacement replacements[];
__attribute__((used, section("__DATA,__interpose"))) const struct Replacement replacements[] = {
    {(const void*)played_getuid, (const void*)getuid},
    {(const void*)played_geteuid, (const void*)geteuid},
    {(const void*)played_setuid, (const void*)setuid},
    {(const void*)played_seteuid, (const void*)seteuid},
    {(const void*)played_setreuid, (const void*)setreuid},
    {(const void*)played_fchown, (const void*)fchown},
    {(const void*)played_sysctlbyname, (const void*)sysctlbyname},
};

__attribute__((constructor)) static void begin(void) {
    kernel = getenv("PLAYED_KERNEL");
    const char* const ids = getenv("PLAYED_IDS");
    const char* const swap = getenv("PLAYED_SWAP");
    const char* const place = getenv("PLAYED_PLACE");
    if (ids == NULL || sscanf(ids, "%u %u %u", &real, &effective, &saved) != 3 ||
        (swap != NULL && (place == NULL || rename(swap, place) != 0))) {
        perror("PlayedIDs");
        abort();
    }
}
