// The platform's pointer, as free fly and the right-button look need it: hidden, held still
// while raw deltas keep arriving, and given back. The app implements it; without one the view
// only keeps its count of hides.
#pragma once

namespace vistrel::viewport {

class CursorControl {
  public:
    virtual ~CursorControl() = default;
    virtual void hide() = 0;
    virtual void unhide() = 0;
    // Moves the cursor to the middle of the view.
    virtual void warpToCentre() = 0;
    // With false, moving the mouse leaves the cursor still and only reports deltas.
    virtual void setAssociated(bool associated) = 0;
};

}  // namespace vistrel::viewport
