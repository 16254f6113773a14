#include "exploration/numbered-states.hpp"

#include <algorithm>
#include <cstring>
#include <functional>
#include <string_view>
#include <utility>

#include "component.hpp"

namespace Vesk {

namespace {

std::string_view viewOf(const StateText& text) {
  return {text.data(), text.length()};
}

std::uint64_t hashOf(const StateText& text) {
  return std::hash<std::string_view>()(viewOf(text));
}

}  // namespace

NumberedStates::NumberedStates(Locality kind, const Place& place, SystemParts parts)
    : StateSpace(kind),
      mPlace(place),
      mParts(std::move(parts)),
      mShorts(mParts.atoms().size(), nullptr),
      mLengths(mParts.atoms().size(), 0),
      mLayout(mParts.atoms().size()),
      mTable(mLayout.bytes()),
      mBase(mLayout.bytes()),
      mKey(mLayout.bytes()),
      mEvaluated(mParts.atoms().size(), 0),
      mIsTouched(mParts.atoms().size(), false),
      mDirty(mParts.connectors().size()),
      mLegal(mParts.connectors().size()) {
  for (std::size_t atom = 0; atom < mParts.atoms().size(); ++atom) {
    mTexts.emplace_back(*mParts.atoms()[atom].atom, atom);
  }
}

// A leaf that ends now is no longer the faulty one.
NumberedStates::~NumberedStates() {
  if (faulty_leaf == mRaised) faulty_leaf = nullptr;
}

// ---- Reading and looking up ------------------------------------------------------------------

// The initial state. It counts as restored, so that the next one is compared with it.
void NumberedStates::read() {
  for (std::size_t atom = 0; atom < mTexts.size(); ++atom) {
    setNumber(atom, readNumber(atom));
    mBaseHash += mShorts[atom][number(atom)].key;
    if (mTexts[atom].raised(number(atom)).anything()) ++mRaising;
    changed(atom);
    noteTouched(atom);
  }
  mBase = mKey;
  mHash = mBaseHash;
  markAllDirty();
  raiseFlags();
}

NumberedStates::Number NumberedStates::readNumber(std::size_t atom) {
  const Number known = mTexts[atom].count();
  const Number number = mTexts[atom].read();
  if (mTexts[atom].count() != known) takeTextsOf(atom);
  return number;
}

// The atom has shown a new text.
void NumberedStates::takeTextsOf(std::size_t atom) {
  const AtomTexts& texts = mTexts[atom];
  const Number newest = texts.count() - 1;
  while (newest > mLayout.most(atom)) widen(atom);
  mHaveOneLength = mHaveOneLength && texts.haveOneLength();
  mLongest += texts.longest() - mLengths[atom];
  mLengths[atom] = texts.longest();
  mShorts[atom] = texts.shorts();
  if (texts.raised(newest).anything()) mRaiseAnything = true;
  mArePrefixFree = mArePrefixFree && texts.isPrefixFree();
  mAreSuffixFree = mAreSuffixFree && texts.isSuffixFree();
  if (!mArePrefixFree && !mAreSuffixFree && !mByText) goOnByText();
}

// Atoms that are going to need more room soon get it, too.
void NumberedStates::widen(std::size_t atom) {
  KeyLayout wider = mLayout.widened(atom);
  for (std::size_t other = 0; other < mTexts.size(); ++other) {
    if (other != atom && mTexts[other].count() > mLayout.most(other) / 2) {
      wider = wider.widened(other);
    }
  }
  mTable.convert(mLayout, wider);
  for (std::vector<unsigned char>* key : {&mBase, &mKey}) {
    std::vector<unsigned char> converted(wider.bytes());
    wider.convert(mLayout, key->data(), converted.data());
    key->swap(converted);
  }
  mLayout = std::move(wider);
}

// States with different numbers may have equal texts from now on. Those that were found have not.
void NumberedStates::goOnByText() {
  mByText = true;
  mTable.rehash([this](StateNumber number) {
    mText.clear();
    appendText(mTable.key(number), mText);
    return hashOf(mText);
  });
}

StateSpace::Found NumberedStates::find() {
  const StateNumber before = count();
  std::uint64_t hash = mHash;
  if (mByText) {
    mText.clear();
    appendText(mKey.data(), mText);
    hash = hashOf(mText);
    mFound = mTable.find(hash, [this](StateNumber number) {
      mOtherText.clear();
      appendText(mTable.key(number), mOtherText);
      return viewOf(mOtherText) == viewOf(mText);
    });
  } else {
    mFound =
        mTable.find(hash, [this](StateNumber number) { return mTable.holds(number, mKey.data()); });
  }
  if (mFound == before) mTable.add(mKey.data(), hash);
  return {mFound, mFound == before};
}

// ---- Texts -----------------------------------------------------------------------------------

StateSpace::Text NumberedStates::restoredText(const PendingState& state) {
  if (!mHaveOneLength) return text(state.number);
  if (mRow.empty()) makeRow();
  return {mRow.data(), mLongest};
}

// That of the state that was found last differs in the members of a connector from the restored
// one.
StateSpace::Text NumberedStates::text(StateNumber number) {
  mText.clear();
  if (mHaveOneLength && mFired != NOTHING && number == mFound) {
    if (mRow.empty()) makeRow();
    char* const row = mText.room(mRow.size());
    std::memcpy(row, mRow.data(), mRow.size());
    mText.take(mLongest);
    for (const Index atom : members(mFired)) putIntoRow(atom, this->number(atom), row);
  } else {
    appendText(mTable.key(number), mText);
  }
  return {mText.data(), mText.length()};
}

void NumberedStates::makeRow() {
  mRow.assign(mLongest + WORD, '\0');
  mPlaces.clear();
  std::size_t place = 0;
  for (std::size_t atom = 0; atom < mTexts.size(); ++atom) {
    mPlaces.push_back(place);
    place += mLengths[atom];
    putIntoRow(atom, mLayout.get(mBase.data(), atom), mRow.data());
  }
}

void NumberedStates::putIntoRow(std::size_t atom, Number number, char* row) const {
  char* const to = row + mPlaces[atom];
  const AtomTexts::Short& own = mShorts[atom][number];
  if (own.length <= WORD) {
    putBytes(to, own.text, own.length);
  } else {
    std::memcpy(to, mTexts[atom].text(number).data(), own.length);
  }
}

// Short texts are copied with what stands behind them, which the next one overwrites.
void NumberedStates::appendText(const unsigned char* key, StateText& text) const {
  char* const start = text.room(mLongest + sizeof AtomTexts::Short::text);
  char* to = start;
  for (std::size_t atom = 0; atom < mShorts.size(); ++atom) {
    const Number number = mLayout.get(key, atom);
    const AtomTexts::Short& own = mShorts[atom][number];
    if (own.length <= sizeof own.text) {
      std::memcpy(to, own.text, sizeof own.text);
    } else {
      std::memcpy(to, mTexts[atom].text(number).data(), own.length);
    }
    to += own.length;
  }
  text.take(static_cast<std::size_t>(to - start));
}

// ---- Flags -----------------------------------------------------------------------------------

// Only the members of the connector that has fired differ from the restored state. That raises
// something only if it is the initial one, or if there is a leaf without a flag.
void NumberedStates::raiseWhatIsThere() {
  if (mFired != NOTHING && mRaising == 0) {
    for (const Index atom : members(mFired)) raiseFlagsOf(atom);
  } else {
    for (std::size_t atom = 0; atom < mTexts.size(); ++atom) raiseFlagsOf(atom);
  }
}

void NumberedStates::raiseFlagsOf(std::size_t atom) {
  const AtomTexts::Raised& raised = mTexts[atom].raised(number(atom));
  if (raised.prune) global_prune = true;
  if (raised.error) global_error = true;
  if (raised.leaf == nullptr) return;
  faulty_leaf = raised.leaf;
  mRaised = raised.isOwn ? raised.leaf : nullptr;
}

void NumberedStates::drop() {
  if (!global_error && faulty_leaf == mRaised) faulty_leaf = nullptr;
}

// ---- Restoring -------------------------------------------------------------------------------

void NumberedStates::restore(const PendingState& state) {
  undo();
  if (state.number != mRestored) enter(state.number);
  restored();
}

void NumberedStates::undo() {
  if (mFired == NOTHING) return;
  for (const Index atom : members(mFired)) {
    setNumber(atom, mLayout.get(mBase.data(), atom));
    if (mIsEvaluatedThere) noteTouched(atom);
  }
  mFired = NOTHING;
  mIsEvaluatedThere = false;
  mHash = mBaseHash;
}

// Looks for bytes that differ, eight at a time.
void NumberedStates::enter(StateNumber number) {
  const unsigned char* key = mTable.key(number);
  const std::size_t bytes = mLayout.bytes();
  std::size_t i = 0;
  for (; i + WORD <= bytes; i += WORD) {
    while (const std::uint64_t rest = wordAt(mKey.data() + i) ^ wordAt(key + i)) {
      takeByte(i + firstByte(rest), key);
    }
  }
  for (; i < bytes; ++i) {
    if (mKey[i] != key[i]) takeByte(i, key);
  }
  mHash = mBaseHash;
  mRestored = number;
}

// Takes the number that the byte belongs to from a key.
void NumberedStates::takeByte(std::size_t byte, const unsigned char* key) {
  const std::size_t atom = mLayout.owner(byte);
  replace(atom, mLayout.get(key, atom));
}

void NumberedStates::replace(std::size_t atom, Number number) {
  mBaseHash += difference(atom, number);
  if (mRaiseAnything) {
    if (mTexts[atom].raised(this->number(atom)).anything()) --mRaising;
    if (mTexts[atom].raised(number).anything()) ++mRaising;
  }
  setNumber(atom, number);
  mLayout.set(mBase.data(), atom, number);
  if (mHaveOneLength && !mRow.empty()) putIntoRow(atom, number, mRow.data());
  changed(atom);
  noteTouched(atom);
}

std::uint64_t NumberedStates::difference(std::size_t atom, Number number) const {
  const AtomTexts::Short* texts = mShorts[atom];
  return texts[number].key - texts[mLayout.get(mBase.data(), atom)].key;
}

// ---- Activation ------------------------------------------------------------------------------

void NumberedStates::markAllDirty() {
  for (std::size_t part = 0; part < mParts.connectors().size(); ++part) mDirty.set(part);
}

void NumberedStates::noteTouched(std::size_t atom) {
  if (mIsTouched[atom]) return;
  mIsTouched[atom] = true;
  mTouched.push_back(static_cast<Index>(atom));
}

void NumberedStates::activate() {
  if (mFired != NOTHING) {
    for (const Index atom : members(mFired)) noteTouched(atom);
    mIsEvaluatedThere = true;
  }
  for (const Index atom : mTouched) {
    mIsTouched[atom] = false;
    const std::uint64_t shown = configuration(atom);
    if (mEvaluated[atom] == shown) continue;
    mEvaluated[atom] = shown;
    for (const Index part : mParts.atoms()[atom].connectors) mDirty.set(part);
  }
  mTouched.clear();
  mDirty.takeAll([this](std::size_t part) { mLegal.set(part, isLegal(part)); });
}

// The list of legal connectors has the one that was evaluated last in front.
bool NumberedStates::firstLegal(Transition& transition) {
  return giveLegalBelow(mParts.connectors().size(), transition);
}

bool NumberedStates::nextLegal(Transition& transition) {
  return giveLegalBelow(transition.part, transition);
}

bool NumberedStates::giveLegalBelow(std::size_t bound, Transition& transition) const {
  const std::size_t part = mLegal.below(bound);
  if (part == BitSet::NONE) return false;
  transition.connector = &connector(part);
  transition.part = part;
  return true;
}

}  // namespace Vesk
