// SPDX-License-Identifier: MIT
// A program in machine code that prints the version that a test gives it.
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

int main() {
    std::ifstream file("/etc/tool_version");
    std::cerr << std::string(std::istreambuf_iterator<char>(file), {});
    return 0;
}
