#pragma once

/// A secret that can be looked for in all of the process's memory.

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace custom_bidi_test {

/// A secret that stands nowhere in this program, since its characters are made one by one.
inline char SecretUnit(size_t size, size_t i) {
  return static_cast<char>('a' + (size + i * i * 7 + i) % 26);
}

/// How often it stands in the memory that the process can write to.
inline int CountSecrets(size_t size) {
  int count = 0;
  std::ifstream maps("/proc/self/maps");
  std::ifstream memory("/proc/self/mem", std::ios::binary);
  for (std::string line; std::getline(maps, line);) {
    unsigned long begin = 0;
    unsigned long end = 0;
    char rights[5] = "";
    sscanf(line.c_str(), "%lx-%lx %4s", &begin, &end, rights);
    std::vector<char> bytes(rights[1] == 'w' ? end - begin : 0);
    memory.seekg(static_cast<std::streamoff>(begin));
    memory.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    memory.clear();
    for (size_t at = 0; at + size <= bytes.size(); ++at) {
      size_t same = 0;
      for (; same < size && bytes[at + same] == SecretUnit(size, same); ++same) {
      }
      count += same == size;
    }
  }
  return count;
}

}  // namespace custom_bidi_test
