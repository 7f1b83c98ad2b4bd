/// A process of this program in another role, told what to do line by line.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>

namespace qx::benchmark {

/// Killed by the destructor if it still runs.
class Child {
public:
    explicit Child(const std::vector<std::string>& arguments);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    void tell(const std::string& line);
    /// The next line that it prints, which begins with `word`; what follows that. Throws when it is another line, or
    /// when the child has ended.
    std::string hear(const std::string& word);

private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    using File = std::unique_ptr<std::FILE, Close>;

    pid_t pid_ = -1;
    File to_;
    File from_;
};

} // namespace qx::benchmark
