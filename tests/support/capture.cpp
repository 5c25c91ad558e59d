// capture: the framework's log as tests read it (see capture.h).
#include "capture.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <regex>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr size_t CAPTURE_READ_CHUNK = 1024;  // bytes read back from the capture file at a time

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
std::string capture_stdout(const std::function<void()> &body)
{
    std::fflush(stdout);
    std::FILE *file = std::tmpfile();
    if (!file)
        return "<cannot capture standard output>";
    int saved = dup(STDOUT_FILENO);
    dup2(fileno(file), STDOUT_FILENO);
    body();
    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    std::string text;
    std::rewind(file);
    char buffer[CAPTURE_READ_CHUNK];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, file)) > 0)
        text.append(buffer, n);
    std::fclose(file);
    return text;
}

std::vector<std::string> log_messages(const std::string &text)
{
    static const std::regex prefix(R"(^\[lum -?[0-9]+\.[0-9]{2}s \([0-9]+\)\] )");
    std::vector<std::string> messages;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos)
            end = text.size();
        std::string line = text.substr(start, end - start);
        std::smatch m;
        if (std::regex_search(line, m, prefix))
            messages.push_back(m.suffix());
        else
            ADD_FAILURE() << "log line without the prefix: '" << line << "'";
        start = end + 1;
    }
    return messages;
}
