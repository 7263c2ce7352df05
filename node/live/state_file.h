// The file in which a node that may be killed leaves what it has found on its bridge, under
// $RUNTIME_DIRECTORY, or else /run/mc_node. It is there from before the first change to the orderly
// end. Its name is that of the bridge and the network namespace's number, so that nodes in several
// namespaces with bridges of one name have a file each.
#pragma once

#include <optional>
#include <string>

#include "node/live/originals.h"
#include "node/live/say.h"
#include "node/live/state_text.h"

namespace live {

class StateFile {
 public:
    StateFile(const std::string& bridge, Say say);

    // What a node on this very bridge has left, if there is such a record. One that cannot be made
    // out is said, and counts as none.
    [[nodiscard]] std::optional<Originals> read();

    // Replaces the record as a whole. That it cannot be written is said once.
    void write(const Originals& originals);

    // Does nothing before something was written: the record is then another node's.
    void remove();
    // Whosever it is.
    void remove_left() const;

    [[nodiscard]] const std::string& path() const { return path_; }

 private:
    [[nodiscard]] int replace(const std::string& text) const;

    Say say_;
    Place place_;
    std::string path_;
    std::string written_;
    bool said_unwritable_ = false;
};

}  // namespace live
