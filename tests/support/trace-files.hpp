// Traces and recordings, for tests.
#ifndef VESK_TESTS_TRACE_FILES_HPP
#define VESK_TESTS_TRACE_FILES_HPP

#include <memory>
#include <string>
#include <vector>

#include "bad-lines.hpp"
#include "lts-files.hpp"
#include "output-file.hpp"
#include "reader.hpp"
#include "run-writer.hpp"

// A folder with runs, and what was said about their lines.
class TraceFiles {
 public:
  std::unique_ptr<Vesk::Traces::Reader> open(const std::string& content) {
    return openPath(mFiles.write("run", content));
  }
  std::unique_ptr<Vesk::Traces::Reader> openPath(const std::string& path) {
    return Vesk::Traces::openReader(path, mFiles.progress(), mBadLines);
  }

  // All steps of the run, each as "NUMBER BEFORE TIME LABEL..." with times in microseconds.
  std::vector<std::string> steps(Vesk::Traces::Reader& reader) {
    std::vector<std::string> result;
    Vesk::Traces::Step step;
    while (reader.next(step)) {
      std::string text = std::to_string(step.number);
      for (const auto& time : {step.before, step.time}) {
        text += time ? " " + std::to_string(*time) : " -";
      }
      for (const auto& firing : step.fired) text += " " + firing.label;
      result.push_back(text);
    }
    return result;
  }
  std::vector<std::string> stepsOf(const std::string& content) {
    const auto reader = open(content);
    return steps(*reader);
  }

  // What a writer makes of the run.
  template <class Writer, class... Options>
  std::string written(const std::string& content, Options... options) {
    const auto reader = open(content);
    {
      Vesk::Lts::OutputFile file(mFiles.path("written"));
      Writer writer(file, options...);
      Vesk::Traces::show(*reader, writer);
      file.commit();
    }
    return mFiles.read("written");
  }

  // The lines that were left out, without the folder.
  const std::vector<std::string>& said() const { return mSaid; }
  const LtsFiles& files() const { return mFiles; }

 private:
  LtsFiles mFiles;
  std::vector<std::string> mSaid;
  Vesk::Traces::BadLines mBadLines{false, [this](const std::string& text) {
                                     mSaid.push_back(text.substr(mFiles.path("").size()));
                                   }};
};

#endif
