// Upcall sources: groups given by the shell commands of a groups.conf
// section. Names reach a command only when every character is harmless to
// the shell, and through the environment as well as in the command text.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <sstream>

#include "group_sources.hpp"
#include "internal/text.hpp"

extern char** environ;

namespace krel {
namespace group_internal {
namespace {

constexpr std::size_t max_output_bytes = std::size_t{64} << 20;

// `command` with $NAME and ${NAME} of each variable written as its value.
std::string substitute(std::string command,
                       std::vector<std::pair<std::string, std::string>> const& variables) {
  for (auto const& [name, value] : variables) {
    for (std::string const& form : {"${" + name + "}", "$" + name}) {
      std::size_t at = 0;
      while ((at = command.find(form, at)) != std::string::npos) {
        command.replace(at, form.size(), value);
        at += value.size();
      }
    }
  }
  return command;
}

std::string read_all(int fd, bool& too_long) {
  std::string output;
  char buffer[65536];
  for (;;) {
    ssize_t const got = ::read(fd, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    if (output.size() + static_cast<std::size_t>(got) > max_output_bytes) {
      too_long = true;
      continue;  // drained so that the command can end
    }
    output.append(buffer, static_cast<std::size_t>(got));
  }
  return output;
}

// The words of a command's output (group names of list and reverse).
std::vector<std::string> words_of(std::string const& output) {
  std::istringstream stream(output);
  std::vector<std::string> words;
  for (std::string word; stream >> word;)
    words.push_back(word);
  return words;
}

class UpcallSource : public GroupSource {
 public:
  UpcallSource(std::string name, UpcallCommands commands)
      : GroupSource(std::move(name)), commands_(std::move(commands)) {}

  std::optional<GroupText> map(std::string const& group, std::string* error) const override {
    if (commands_.map.empty()) return GroupText{};
    if (!is_safe_name(group))
      return fail(error, "group name " + internal::quoted(group) +
                             " holds characters a group name cannot hold");
    auto output = run(commands_.map, {{"GROUP", group}}, error);
    if (!output) return std::nullopt;
    return GroupText{true, join_lines(*output)};
  }

  std::optional<std::vector<std::string>> list(std::string* error) const override {
    if (commands_.list.empty())
      return fail(error, "group source " + internal::quoted(name()) + " cannot list its groups");
    auto output = run(commands_.list, {}, error);
    if (!output) return std::nullopt;
    return words_of(*output);
  }

  std::optional<GroupText> all(std::string* error) const override {
    if (commands_.all.empty()) return GroupText{};
    auto output = run(commands_.all, {}, error);
    if (!output) return std::nullopt;
    return GroupText{true, join_lines(*output)};
  }

  long cache_seconds() const override { return commands_.cache_time; }

  bool lists() const override { return !commands_.list.empty(); }

  std::optional<std::vector<std::string>> reverse(std::string const& node,
                                                  std::string* error) const override {
    if (commands_.reverse.empty()) return GroupSource::reverse(node, error);
    if (!is_safe_name(node))
      return fail(error, "node name " + internal::quoted(node) +
                             " holds characters a node name cannot hold");
    auto output = run(commands_.reverse, {{"NODE", node}}, error);
    if (!output) return std::nullopt;
    return words_of(*output);
  }

 private:
  static std::string join_lines(std::string const& output) {
    std::string text;
    for (char c : output)
      text += (c == '\n' || c == '\r') ? ',' : c;
    return text;
  }

  std::optional<std::string> run(std::string const& command,
                                 std::vector<std::pair<std::string, std::string>> variables,
                                 std::string* error) const {
    variables.emplace_back("SOURCE", name());
    variables.emplace_back("CFGDIR", commands_.cfgdir);
    return run_command(substitute(command, variables), commands_.cfgdir, variables, error);
  }

  UpcallCommands commands_;
};

}  // namespace

bool is_safe_name(std::string_view name) {
  if (name.empty() || name.front() == '-') return false;
  for (char c : name) {
    bool const alnum = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    if (!alnum && std::strchr("._-+=/:%", c) == nullptr) return false;
  }
  return true;
}

std::optional<std::string> run_command(
    std::string const& command, std::string const& directory,
    std::vector<std::pair<std::string, std::string>> const& variables, std::string* error) {
  std::vector<std::string> environment;
  for (char** entry = environ; *entry != nullptr; ++entry)
    environment.emplace_back(*entry);
  for (auto const& [name, value] : variables)
    environment.push_back(name + "=" + value);
  std::vector<char*> envp;
  for (auto& entry : environment)
    envp.push_back(entry.data());
  envp.push_back(nullptr);
  int pipe_fds[2];
  if (::pipe2(pipe_fds, O_CLOEXEC) != 0)
    return fail(error, "cannot run " + internal::quoted(command) + ": " + std::strerror(errno));
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, pipe_fds[1], STDOUT_FILENO);
  if (!directory.empty() && ::access(directory.c_str(), X_OK) == 0)
    posix_spawn_file_actions_addchdir_np(&actions, directory.c_str());
  char shell[] = "/bin/sh";
  char dash_c[] = "-c";
  std::string text = command;
  char* argv[] = {shell, dash_c, text.data(), nullptr};
  pid_t pid = 0;
  int const spawned = posix_spawn(&pid, shell, &actions, nullptr, argv, envp.data());
  posix_spawn_file_actions_destroy(&actions);
  ::close(pipe_fds[1]);
  if (spawned != 0) {
    ::close(pipe_fds[0]);
    return fail(error, "cannot run " + internal::quoted(command) + ": " + std::strerror(spawned));
  }
  bool too_long = false;
  std::string output = read_all(pipe_fds[0], too_long);
  ::close(pipe_fds[0]);
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (too_long)
    return fail(error, "command " + internal::quoted(command) + " wrote more than 64 MiB");
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
    return fail(error, "command " + internal::quoted(command) + " failed with status " +
                           std::to_string(WIFEXITED(status) ? WEXITSTATUS(status)
                                                            : 128 + WTERMSIG(status)));
  return output;
}

SourcePtr make_upcall_source(std::string name, UpcallCommands commands) {
  return std::make_shared<UpcallSource>(std::move(name), std::move(commands));
}

}  // namespace group_internal
}  // namespace krel
