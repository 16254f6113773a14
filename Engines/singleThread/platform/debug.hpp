// The interface through which a model built with debugging shows its data to the single-step
// console.
#ifndef VESK_DEBUG_HPP
#define VESK_DEBUG_HPP

// An element of the model that the console can show: it has values and parts.
class VeskDebugElmt {
 public:
  virtual ~VeskDebugElmt() {}

  // Slot order is fixed: generated code is built against it.
  // The text of a value of this element, null when there is no such value. The text stays the
  // model's.
  virtual char* getValue(char* name) = 0;
  // A part of this element, null when there is no such part. Not owned by the caller.
  virtual VeskDebugElmt* getSubElement(char* name) = 0;
  // Null-terminated arrays of names, which stay the model's; a null array counts as an empty one.
  virtual char** getValuedElementNames() = 0;
  virtual char** getSubElementsNames() = 0;
  // The element that this one is a part of, null at the top.
  virtual VeskDebugElmt* getParent() = 0;
};

// The element that the console stands on; null when the model has no debug support. Not owned.
extern VeskDebugElmt* veskCurrentDebug;

#endif
