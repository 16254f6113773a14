#include "kit/output.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <sstream>
#include <string>

namespace kit {

std::string errorsOf(const std::function<void()>& action) {
  testing::internal::CaptureStderr();
  action();
  std::cerr.flush();
  std::fflush(stderr);
  return testing::internal::GetCapturedStderr();
}

std::string outputOf(const std::function<void()>& action) {
  testing::internal::CaptureStdout();
  action();
  std::cout.flush();
  std::fflush(stdout);
  return testing::internal::GetCapturedStdout();
}

std::string contents(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream text;
  text << stream.rdbuf();
  return text.str();
}

std::string contents(std::FILE* file) {
  std::string text;
  std::fflush(file);
  std::rewind(file);
  for (int c; (c = std::fgetc(file)) != EOF;) text.push_back(static_cast<char>(c));
  return text;
}

Folder::Folder() : mPath((std::filesystem::temp_directory_path() / "vesk-test-XXXXXX").string()) {
  if (mkdtemp(mPath.data()) == nullptr) std::abort();
}

Folder::~Folder() {
  std::filesystem::remove_all(mPath);
}

WorkingFolder::WorkingFolder() : mBefore(std::filesystem::current_path().string()) {
  std::filesystem::current_path(path());
}

WorkingFolder::~WorkingFolder() {
  std::filesystem::current_path(mBefore);
}

}  // namespace kit
