#include "support/temporary_folder.h"

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <system_error>

namespace tapeloop::support {

TemporaryFolder::TemporaryFolder() {
  std::string name = std::filesystem::temp_directory_path() / "tapeloop-XXXXXX";
  if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
  path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace tapeloop::support
