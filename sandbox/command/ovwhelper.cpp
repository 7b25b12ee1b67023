// Stands where the real software has its set-user-ID helper, and does nothing.
#include <iostream>

int main() {
    std::cout << "ovwhelper.exe: the sandbox wallet's helper; it has nothing to help with.\n";
    return std::cout.flush() ? 0 : 1;
}
