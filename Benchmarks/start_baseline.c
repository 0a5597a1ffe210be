/* The least that a setuid tool can do: what a start costs that does nothing else. */
#include <unistd.h>

int main(void) {
    return setuid(0) == 0 ? 255 : 1;
}
