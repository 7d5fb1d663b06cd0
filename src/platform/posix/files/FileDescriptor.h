#pragma once

#include <cerrno>
#include <utility>

#include <unistd.h>

namespace tovri {

// Owns an open file descriptor; -1 stands for none.
class FileDescriptor {
public:
    FileDescriptor() = default;

    explicit FileDescriptor(int number) : number_(number) {}

    FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}

    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }

    ~FileDescriptor() {
        if (number_ >= 0) ::close(number_);
    }

    [[nodiscard]] bool isOpen() const { return number_ >= 0; }

    [[nodiscard]] int number() const { return number_; }

private:
    int number_ = -1;
};

// Repeats a system call that a signal interrupted.
template <class Call>
auto retrying(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR) result = call();
    return result;
}

}  // namespace tovri
