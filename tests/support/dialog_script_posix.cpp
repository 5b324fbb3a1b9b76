// The script takes the place of standard input.
#include <gtest/gtest.h>
#include <stdio.h>
#include <stdio_ext.h>
#include <unistd.h>

#include <stdexcept>

#include "support/dialog_script.h"

namespace uab {

DialogScript::DialogScript(const std::string& commands) {
  FILE* file = tmpfile();
  if (file == nullptr) throw std::runtime_error("no temporary file");
  fwrite(commands.data(), 1, commands.size(), file);
  rewind(file);
  saved_input_ = dup(STDIN_FILENO);
  dup2(fileno(file), STDIN_FILENO);
  fclose(file);
  __fpurge(stdin);
  clearerr(stdin);
  testing::internal::CaptureStderr();
}

DialogScript::~DialogScript() { Finish(); }

std::string DialogScript::Finish() {
  if (finished_) return {};
  finished_ = true;
  if (saved_input_ >= 0) {
    dup2(saved_input_, STDIN_FILENO);
    close(saved_input_);
  }
  __fpurge(stdin);
  clearerr(stdin);
  return testing::internal::GetCapturedStderr();
}

}  // namespace uab
