#define _GNU_SOURCE
#include "bare_volumes.h"

#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/sysinfo.h>
#include <unistd.h>

int bare_volumes(const char* folder, struct bare_volume* volumes, int most) {
    static char table[1 << 20];
    const int file = open("/proc/self/mountinfo", O_RDONLY);
    if (file < 0) {
        return -1;
    }
    size_t size = 0;
    ssize_t count;
    while ((count = read(file, table + size, sizeof table - 1 - size)) > 0) {
        size += (size_t)count;
    }
    close(file);
    table[size] = '\0';

    const size_t length = strlen(folder);
    int found = 0;
    char* line = table;
    while (*line != '\0' && found < most) {
        char* end = strchr(line, '\n');
        char* place = line;
        for (int field = 0; field < 4; ++field) {
            place = strchr(place, ' ') + 1;
        }
        *strchr(place, ' ') = '\0';
        struct statfs sizes;
        struct stat owner;
        if (strncmp(place, folder, length) == 0 && statfs(place, &sizes) == 0 && stat(place, &owner) == 0) {
            struct bare_volume* volume = &volumes[found++];
            volume->place = strdup(place);
            volume->owner = owner.st_uid;
            volume->total = (unsigned long long)sizes.f_frsize * sizes.f_blocks;
            volume->available = (unsigned long long)sizes.f_frsize * sizes.f_bavail;
        }
        line = end + 1;
    }
    return found;
}

long long bare_free_memory(void) {
    struct sysinfo info;
    const long size = sysconf(_SC_PAGESIZE);
    sysinfo(&info);
    return (long long)((unsigned long long)info.freeram * info.mem_unit / (unsigned long)size * (unsigned long)size);
}
