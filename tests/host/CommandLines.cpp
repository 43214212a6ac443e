#include "tests/host/CommandLines.h"

#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <thread>

#include "MivoraMac/platform/threads/MainThread.h"

using Mivora::platform::MainThread;

namespace Mivora::tests {

void obeyLines(
    const std::function<void(const std::string& command, std::istringstream& rest)>& obey) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    std::thread([obey] {
        std::string line;
        while (std::getline(std::cin, line)) {
            MainThread::perform([obey, line] {
                std::istringstream rest(line);
                std::string command;
                rest >> command;
                if (command == "quit") {
                    MainThread::quit();
                } else {
                    obey(command, rest);
                    std::puts("obeyed");
                }
            });
        }
        MainThread::perform([] { MainThread::quit(); });
    }).detach();
    MainThread::run();
}

void endProgram() {
    std::puts("end");
    std::fflush(stdout);
    std::fflush(stderr);
    _exit(0);
}

}  // namespace Mivora::tests
