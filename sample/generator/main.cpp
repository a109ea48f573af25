#include "sample.h"

#include <exception>
#include <iostream>

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: generate_sample FOLDER\nWrites the sample's glTF files and models to FOLDER.\n";
    return 2;
  }
  try {
    sample::generateSample(argv[1]);
  } catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
  }
  return 0;
}
