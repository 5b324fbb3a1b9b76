// What the program prints: aligned tables for people, JSON for programs, a progress line on terminals.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace host {

using Json = nlohmann::ordered_json;

struct Column {
  std::string key;    // in the row's object
  std::string title;  // in the table's head
};

class Output {
 public:
  bool json = false;
  bool colour = false;

  // Rows are objects. JSON: the array. Otherwise a table of the columns, or the sentence when there is no row.
  void PrintTable(const std::vector<Column>& columns, const Json& rows, const std::string& if_empty) const;

  // One object: JSON as it is, otherwise a line for each member.
  void PrintObject(const Json& object) const;

  // What was done: {"done": sentence} or the sentence.
  void PrintDone(const std::string& sentence) const;

  // A line on the terminal that is written over by the next; nothing when the output is no terminal.
  void Progress(const std::string& line) const;
  void EndProgress() const;

 private:
  std::string Styled(const std::string& text, const char* style) const;
};

}  // namespace host
