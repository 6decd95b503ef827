// A directory of a test's own, removed with everything in it at the test's end.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

struct Scratch {
    Scratch() {
        directory = std::filesystem::temp_directory_path() /
                    ("veltramox-test-" + std::to_string(std::random_device{}()));
        std::filesystem::create_directories(directory);
    }
    ~Scratch() {
        std::error_code ignored;
        std::filesystem::remove_all(directory, ignored);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    std::string Path(const std::string& name) const {
        return (directory / name).string();
    }
    void Write(const std::string& name, const std::string& content) const {
        std::ofstream(Path(name), std::ios::binary) << content;
    }
    std::string Read(const std::string& name) const {
        std::ifstream file(Path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::filesystem::path directory;
};
