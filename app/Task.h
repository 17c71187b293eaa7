#pragma once

/// One run of the tool performs exactly one task.
class Task {
public:
    Task() = default;
    virtual ~Task() = default;
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;

    /// Display text of the task; statically allocated, never null.
    [[nodiscard]] virtual const char* name() const = 0;

    /// Performs the task. Returns the exit status of the process: 0 for success, -1 for failure.
    virtual int run() = 0;
};
