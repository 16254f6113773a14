// The interface through which a model built with debugging shows its data to the single-step
// console. A root compound that derives from VeskDebugElmt as well is the element that the console
// starts with:
//
//     // Shows one value, "limit", and no parts.
//     class Shown : public Compound, public VeskDebugElmt {
//      public:
//       using Compound::Compound;
//       char* getValue(char* name) override { return name[0] == 'l' ? mText : nullptr; }
//       VeskDebugElmt* getSubElement(char*) override { return nullptr; }
//       char** getValuedElementNames() override { return mNames; }
//       char** getSubElementsNames() override { return nullptr; }
//       VeskDebugElmt* getParent() override { return nullptr; }
//
//      private:
//       char mName[6] = "limit";
//       char mText[2] = "3";
//       char* mNames[2] = {mName, nullptr};
//     };
#ifndef VESK_DEBUG_HPP
#define VESK_DEBUG_HPP

// An element of the model that the console can show: it has values and parts. All operations are
// called between two steps, when the user asks; none may change the model.
class VeskDebugElmt {
 public:
  virtual ~VeskDebugElmt() {}

  // Slot order is fixed: generated code is built against it.
  // The text of a value of this element, null when there is no such value. The text stays the
  // model's, and is printed before the next call.
  virtual char* getValue(char* name) = 0;
  // A part of this element, null when there is no such part. Not owned by the caller; it may become
  // the current element and then is used until the next move, so it lives as long as the model.
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
