// The trivial stand-in for the device tool: one line and a successful end, whatever it is
// asked. With it a benchmark measures what starting and following processes costs.
// With TRIVIAL_TOOL_RECORD set it first appends its arguments to that file, one call per line
// with the arguments separated by the unit separator, so a shell run can repeat the calls.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <unistd.h>

int main(int argc, char** argv)
{
    if (const char* record = std::getenv("TRIVIAL_TOOL_RECORD")) {
        std::string line;
        for (int i = 1; i < argc; ++i) {
            if (i > 1)
                line += '\x1f';
            line += argv[i];
        }
        line += '\n';
        const int fd = ::open(record, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
        // One write: lines of processes running side by side do not interleave.
        if (fd < 0 || ::write(fd, line.data(), line.size()) != ssize_t(line.size()))
            return 3;
        ::close(fd);
    }
    std::puts("Job finished");
    return 0;
}
