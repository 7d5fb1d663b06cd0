#pragma once

namespace tovri {

// From now on each RowListView is a list to a screen reader: its rows are named by their titles and described by their
// captions, and their buttons are buttons. Once is enough.
void makeRowListsAccessible();

}  // namespace tovri
