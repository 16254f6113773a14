// What a piece of code writes: to the standard streams, into files, into a folder of its own.
#ifndef VESK_TESTS_KIT_OUTPUT_HPP
#define VESK_TESTS_KIT_OUTPUT_HPP

#include <cstdio>
#include <functional>
#include <string>

namespace kit {

// What an action writes to standard error, and to standard output.
std::string errorsOf(const std::function<void()>& action);
std::string outputOf(const std::function<void()>& action);

// The bytes of a file by its name; empty when it cannot be read.
std::string contents(const std::string& file);
// All that was written to a stream; writing may go on at its end.
std::string contents(std::FILE* file);

// A folder that is deleted with all its files at the end.
class Folder {
 public:
  Folder();
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder();

  const std::string& path() const { return mPath; }
  std::string name(const std::string& entry) const { return mPath + "/" + entry; }
  std::string content(const std::string& entry) const { return contents(name(entry)); }

 private:
  std::string mPath;
};

// One that is the current folder until then.
class WorkingFolder : public Folder {
 public:
  WorkingFolder();
  WorkingFolder(const WorkingFolder&) = delete;
  WorkingFolder& operator=(const WorkingFolder&) = delete;
  ~WorkingFolder();

 private:
  std::string mBefore;
};

}  // namespace kit

#endif
