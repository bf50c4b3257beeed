#include "TestFiles.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <sys/stat.h>

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <fcntl.h>
#include <io.h>
#include <windows.h>
#else
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace fs = std::filesystem;

namespace tovxtest {

namespace {

#ifdef _WIN32

const char* const kTemporaryFolderVariable = "TMP";

std::wstring wide(const std::string& utf8) { return fs::u8path(utf8).wstring(); }

// A command line that CommandLineToArgvW and the C runtime split back into `arguments`.
std::wstring quoted(const std::wstring& argument) {
    std::wstring out = L"\"";
    size_t backslashes = 0;
    for (wchar_t c : argument) {
        if (c == L'\\') {
            ++backslashes;
            continue;
        }
        out.append(c == L'"' ? backslashes * 2 + 1 : backslashes, L'\\');
        backslashes = 0;
        out.push_back(c);
    }
    out.append(backslashes * 2, L'\\');
    return out + L"\"";
}

#else

const char* const kTemporaryFolderVariable = "TMPDIR";

std::string quoted(const std::string& argument) {
    std::string out = "'";
    for (char c : argument) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

#endif

}  // namespace

ScratchFile::ScratchFile(const std::vector<uint8_t>& bytes, const std::string& suffix) {
#ifdef _WIN32
    // No mkstemps: a random name, created only if no file has it yet.
    std::mt19937_64 random{std::random_device{}()};
    int fd = -1;
    for (int attempt = 0; attempt < 100 && fd < 0; ++attempt) {
        path_ = (fs::temp_directory_path() / ("tovx-test-" + std::to_string(random()) + suffix)).u8string();
        fd = _wopen(wide(path_).c_str(), _O_CREAT | _O_EXCL | _O_WRONLY | _O_BINARY, _S_IREAD | _S_IWRITE);
    }
    if (fd < 0) throw std::runtime_error("cannot create scratch file");
    if (!bytes.empty()) _write(fd, bytes.data(), static_cast<unsigned int>(bytes.size()));
    _close(fd);
#else
    const char* folder = std::getenv("TMPDIR");
    std::string pattern = std::string(folder && *folder ? folder : "/tmp") + "/tovx-test-XXXXXX" + suffix;
    const int fd = mkstemps(&pattern[0], static_cast<int>(suffix.size()));
    if (fd < 0) throw std::runtime_error("cannot create scratch file");
    size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t n = write(fd, bytes.data() + written, bytes.size() - written);
        if (n <= 0) break;
        written += static_cast<size_t>(n);
    }
    close(fd);
    path_ = pattern;
#endif
}

ScratchFile::~ScratchFile() {
    std::error_code ignored;
    fs::remove(fs::u8path(path_), ignored);
}

std::vector<uint8_t> readWholeFile(const std::string& path) {
    std::ifstream in(fs::u8path(path), std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string corpusDir() {
    struct stat info;
    const std::string dir = TOVX_CORPUS_DIR;
    return stat((dir + "/files").c_str(), &info) == 0 ? dir : std::string();
}

std::string makeScratchFolder(const std::string& prefix) {
    std::error_code error;
    const fs::path base = fs::temp_directory_path(error);
    if (error) return std::string();
    std::mt19937_64 random{std::random_device{}()};
    for (int attempt = 0; attempt < 100; ++attempt) {
        const fs::path folder = base / (prefix + std::to_string(random()));
        if (fs::create_directory(folder, error)) return folder.u8string();  // false when it was there already
    }
    return std::string();
}

TemporaryFolderOverride::TemporaryFolderOverride(const std::string& folder) {
    const char* old = std::getenv(kTemporaryFolderVariable);
    hadValue_ = old != nullptr;
    saved_ = hadValue_ ? old : "";
#ifdef _WIN32
    _putenv_s(kTemporaryFolderVariable, folder.c_str());  // also sets the variable that GetTempPath reads
#else
    setenv(kTemporaryFolderVariable, folder.c_str(), 1);
#endif
}

TemporaryFolderOverride::~TemporaryFolderOverride() {
#ifdef _WIN32
    _putenv_s(kTemporaryFolderVariable, hadValue_ ? saved_.c_str() : "");  // an empty value removes it
#else
    hadValue_ ? setenv(kTemporaryFolderVariable, saved_.c_str(), 1) : unsetenv(kTemporaryFolderVariable);
#endif
}

int exitStatusOf(const std::string& program, const std::vector<std::string>& arguments) {
#ifdef _WIN32
    std::wstring commandLine = quoted(wide(program));
    for (const std::string& argument : arguments) commandLine += L" " + quoted(wide(argument));
    SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
    const HANDLE nul = CreateFileW(L"NUL", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit, OPEN_EXISTING, 0, nullptr);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = nul;
    startup.hStdError = nul;
    PROCESS_INFORMATION process = {};
    const bool started = CreateProcessW(nullptr, &commandLine[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process) != 0;
    CloseHandle(nul);
    if (!started) return -1;
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 0;
    const bool known = GetExitCodeProcess(process.hProcess, &code) != 0;
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return known ? static_cast<int>(code) : -1;
#else
    std::string command = quoted(program);
    for (const std::string& argument : arguments) command += " " + quoted(argument);
    const int raw = std::system((command + " >/dev/null 2>&1").c_str());
    return raw != -1 && WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
#endif
}

#ifdef _WIN32

ChildProgram::ChildProgram(const std::string& program, const std::vector<std::string>& arguments) {
    std::wstring commandLine = quoted(wide(program));
    for (const std::string& argument : arguments) commandLine += L" " + quoted(wide(argument));
    SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
    HANDLE childInput = nullptr, childOutput = nullptr, input = nullptr, output = nullptr;
    if (!CreatePipe(&childInput, &input, &inherit, 0)) return;
    if (!CreatePipe(&output, &childOutput, &inherit, 0)) {
        CloseHandle(childInput);
        CloseHandle(input);
        return;
    }
    // Only the child's ends go to the child, or its input would never see an end.
    SetHandleInformation(input, HANDLE_FLAG_INHERIT, 0);
    SetHandleInformation(output, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = childInput;
    startup.hStdOutput = childOutput;
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process = {};
    const bool started = CreateProcessW(nullptr, &commandLine[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process) != 0;
    CloseHandle(childInput);
    CloseHandle(childOutput);
    input_ = input;
    output_ = output;
    if (!started) return;
    CloseHandle(process.hThread);
    process_ = process.hProcess;
}

ChildProgram::~ChildProgram() {
    if (input_ != nullptr) CloseHandle(input_);
    if (process_ != nullptr) {
        WaitForSingleObject(process_, INFINITE);
        CloseHandle(process_);
    }
    if (output_ != nullptr) CloseHandle(output_);
}

int ChildProgram::readByte() {
    unsigned char byte = 0;
    DWORD got = 0;
    if (process_ == nullptr || !ReadFile(output_, &byte, 1, &got, nullptr) || got != 1) return -1;
    return byte;
}

#else

ChildProgram::ChildProgram(const std::string& program, const std::vector<std::string>& arguments) {
    int toChild[2], fromChild[2];
    if (pipe(toChild) != 0) return;
    if (pipe(fromChild) != 0) {
        close(toChild[0]);
        close(toChild[1]);
        return;
    }
    std::vector<std::string> words = {program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(&word[0]);
    argv.push_back(nullptr);
    pid_ = fork();
    if (pid_ == 0) {
        dup2(toChild[0], 0);
        dup2(fromChild[1], 1);
        close(toChild[0]);
        close(toChild[1]);
        close(fromChild[0]);
        close(fromChild[1]);
        execv(program.c_str(), argv.data());
        _exit(127);
    }
    close(toChild[0]);
    close(fromChild[1]);
    input_ = toChild[1];
    output_ = fromChild[0];
}

ChildProgram::~ChildProgram() {
    if (input_ >= 0) close(input_);
    if (pid_ > 0) waitpid(pid_, nullptr, 0);
    if (output_ >= 0) close(output_);
}

int ChildProgram::readByte() {
    unsigned char byte = 0;
    return pid_ > 0 && read(output_, &byte, 1) == 1 ? byte : -1;
}

#endif

}  // namespace tovxtest
