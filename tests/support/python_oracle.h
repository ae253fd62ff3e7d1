// Runs a short script under the system Python, which has numpy and scipy,
// and reads back the numbers it prints. Used to compare numerics with
// independent reference implementations.
#ifndef ZOR_PYTHON_ORACLE_H
#define ZOR_PYTHON_ORACLE_H

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "test_support.h"

#ifndef ZOR_SYSTEM_PYTHON
#define ZOR_SYSTEM_PYTHON "/usr/bin/python3"
#endif

// `script` reads `input` from standard input and prints numbers separated
// by white space. Returns false (and leaves `numbers` empty) if the script
// fails.
inline bool run_python_oracle(const std::string &script, const std::string &input,
                              std::vector<double> &numbers) {
  numbers.clear();
  const std::string dir = make_temp_dir();
  const std::string script_path = write_text_file(dir, "oracle.py", script);
  const std::string input_path = write_text_file(dir, "input.txt", input);
  const std::string output_path = dir + "/output.txt";
  const std::string command = std::string(ZOR_SYSTEM_PYTHON) + " " + script_path + " < " +
                              input_path + " > " + output_path;
  if (std::system(command.c_str()) != 0) return false;
  std::ifstream in(output_path);
  std::string token;
  while (in >> token) numbers.push_back(std::strtod(token.c_str(), nullptr));
  return true;
}

#endif
