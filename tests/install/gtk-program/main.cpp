#include <MivoraMac/MivoraMac.h>

#include <cstdio>
#include <cstdlib>
#include <string>

// A program for a desktop that names nothing of the library that holds the desktop host. It must
// have that host all the same, which without a display shows in the way it is refused.
int main() {
    setenv("MIVORA_HOST", "gtk", 1);
    setenv("DISPLAY", ":none", 1);
    setenv("WAYLAND_DISPLAY", "none", 1);
    try {
        std::printf("unexpected host: %s\n", Mivora::platform::Host::current().name());
    } catch (const MVException& exception) {
        std::printf("%s\n", exception.what());
        return exception.reason() == "MIVORA_HOST=gtk: no display answers" ? 0 : 1;
    }
    return 1;
}
