'use strict';

// Texts and labels are data: they come into the page as text nodes only.
const data = JSON.parse(document.getElementById('data').textContent);
const MOST_SHOWN = 200;   // items of a list before somebody asks for more
const MOST_ROWS = 400;    // of the table of levels
const NONE = -1;

// ---- The system ---------------------------------------------------------------------------------

// States are known by their places in data.numbers, transitions by their places in the list.
const count = data.numbers.length;
const transitionCount = data.transitions.length / 3;
const placeOf = new Map(data.numbers.map((number, place) => [number, place]));
const kindOf = new Map(data.kinds);
const start = placeOf.get(data.start);
const from = new Int32Array(transitionCount);
const label = new Int32Array(transitionCount);
const to = new Int32Array(transitionCount);
for (let i = 0; i < transitionCount; ++i) {
  from[i] = placeOf.get(data.transitions[3 * i]);
  label[i] = data.transitions[3 * i + 1];
  to[i] = placeOf.get(data.transitions[3 * i + 2]);
}

// The transitions of each state, sorted by one of their ends.
function grouped(end) {
  const first = new Int32Array(count + 1);
  for (const state of end) ++first[state + 1];
  for (let state = 0; state < count; ++state) first[state + 1] += first[state];
  const next = first.slice();
  const sorted = new Int32Array(transitionCount);
  for (let i = 0; i < transitionCount; ++i) sorted[next[end[i]]++] = i;
  return (state) => sorted.subarray(first[state], first[state + 1]);
}
const outOf = grouped(from);
const into = grouped(to);

// A breadth-first search: the level of each state and the transition by which it was reached.
function search(source) {
  const level = new Int32Array(count).fill(NONE);
  const came = new Int32Array(count).fill(NONE);
  const order = [source];
  level[source] = 0;
  for (let i = 0; i < order.length; ++i) {
    for (const transition of outOf(order[i])) {
      const target = to[transition];
      if (level[target] !== NONE) continue;
      level[target] = level[order[i]] + 1;
      came[target] = transition;
      order.push(target);
    }
  }
  return {level, came, order};
}
const fromStart = search(start);

// The transitions from where the search started to the state; null when there is no way.
function wayTo(found, state) {
  if (found.level[state] === NONE) return null;
  const way = [];
  for (let at = state; found.came[at] !== NONE; at = from[found.came[at]]) way.push(found.came[at]);
  return way.reverse();
}

function isKind(state, kind) {
  return (kindOf.get(state) || '').split(' ').includes(kind);
}

// ---- Texts --------------------------------------------------------------------------------------

function wordsOf(text) {
  return text.match(/[ \t\n\r,;:|\/()[\]{}<>=]|[^ \t\n\r,;:|\/()[\]{}<>=]+/g) || [];
}

// The text in pieces, each with whether it has changed: as `vesk-lts path` does it.
function changes(before, after) {
  const old = wordsOf(before);
  const now = wordsOf(after);
  const common = Math.min(old.length, now.length);
  let first = 0;
  while (first < common && old[first] === now[first]) ++first;
  let tail = 0;
  while (tail < common - first && old[old.length - 1 - tail] === now[now.length - 1 - tail]) ++tail;
  return now.map((word, i) => {
    const outside = i < first || i >= now.length - tail;
    return [word, !outside && (old.length !== now.length || word !== old[i])];
  });
}

// Controls would be invisible.
function shown(text) {
  return text.replace(/[\u0000-\u0009\u000b-\u001f\u007f-\u009f]/g,
      (c) => '\\x' + c.charCodeAt(0).toString(16).padStart(2, '0'));
}

// ---- Elements -----------------------------------------------------------------------------------

const byId = (id) => document.getElementById(id);

function element(name, text, className) {
  const result = document.createElement(name);
  if (text !== undefined) result.textContent = text;
  if (className) result.className = className;
  return result;
}

function link(address, text) {
  const result = element('a', text);
  result.href = '#' + address;
  return result;
}

function stateLink(state) {
  return link('state-' + data.numbers[state], 'State ' + data.numbers[state]);
}

function describe(state) {
  const kind = kindOf.get(state);
  return kind ? ' (' + kind.replace(/ /g, ', ') + ')' : '';
}

function textAfter(item, state) {
  if (data.texts[state] === null) return;
  item.append(' ', element('span', shown(data.texts[state]), 'label'));
}

function stateItem(state) {
  const item = element('li');
  item.append(stateLink(state), describe(state));
  textAfter(item, state);
  return item;
}

// Long lists grow when somebody asks.
function fillList(list, values, makeItem) {
  const old = list.nextElementSibling;
  if (old && old.classList.contains('more')) old.remove();
  list.replaceChildren();
  const more = element('button', '', 'more');
  more.type = 'button';
  const grow = () => {
    const done = list.children.length;
    for (let i = done; i < Math.min(values.length, done + MOST_SHOWN); ++i) {
      list.append(makeItem(values[i]));
    }
    const left = values.length - list.children.length;
    more.textContent = 'Show more: ' + left + ' are left';
    if (left === 0) more.remove();
    return list.children[done];
  };
  more.addEventListener('click', () => {
    const item = grow();
    const target = item && item.querySelector('a');
    if (target) target.focus();
  });
  grow();
  if (list.children.length < values.length) list.after(more);
}

// ---- One state ----------------------------------------------------------------------------------

let current = NONE;

function isSuccessor(before, state) {
  return before !== NONE && before !== state && outOf(before).some((i) => to[i] === state);
}

// The state before is the one that was shown, or the one before on the shortest way.
function stateBefore(state, previous) {
  if (isSuccessor(previous, state)) return previous;
  return fromStart.came[state] === NONE ? NONE : from[fromStart.came[state]];
}

function showText(state, before) {
  const text = data.texts[state];
  const old = before === NONE ? null : data.texts[before];
  const place = byId('state-text');
  place.replaceChildren();
  byId('state-change').textContent = '';
  if (text === null) {
    place.append('This state has no text.');
  } else if (old === null) {
    place.append(shown(text));
  } else {
    for (const [word, changed] of changes(old, text)) {
      place.append(changed ? element('mark', shown(word)) : shown(word));
    }
    byId('state-change').textContent = 'Marked is what changed since state ' + data.numbers[before] + '.';
  }
}

function showTransitions(id, title, transitions, end) {
  byId(id + '-title').textContent = title + ': ' + transitions.length;
  fillList(byId(id + '-list'), Array.from(transitions), (i) => {
    const item = element('li');
    item.append(element('span', shown(data.labels[label[i]]), 'label'), end === to ? ' to ' : ' from ');
    item.append(stateLink(end[i]), describe(end[i]));
    return item;
  });
}

function markInDrawing(state) {
  for (const node of document.querySelectorAll('.here')) node.classList.remove('here');
  const place = document.querySelector('.picture a[*|href="#state-' + data.numbers[state] + '"]');
  if (place) place.classList.add('here');
}

function showState(state, extra) {
  const number = data.numbers[state];
  const before = stateBefore(state, current);
  current = state;
  const level = fromStart.level[state];
  const where = data.isAll ? 'the initial state' : 'state ' + data.start;
  byId('state-title').textContent = 'State ' + number + describe(state);
  byId('state-kind').textContent = level === NONE ?
      'It cannot be reached from ' + where + '.' : level + (level === 1 ? ' step' : ' steps') + ' from ' + where;
  showText(state, before);
  byId('way-from-initial').href = '#state-' + number + '/from-initial';
  byId('way-to-deadlock').href = '#state-' + number + '/to-deadlock';
  showTransitions('out', 'Transitions out of it', outOf(state), to);
  showTransitions('in', 'Transitions into it', into(state), from);
  markInDrawing(state);
  showWay(state, extra);
}

// ---- Ways ---------------------------------------------------------------------------------------

function showWay(state, extra) {
  byId('way').hidden = !extra;
  if (extra === 'from-initial') {
    const where = data.isAll ? 'the initial state' : 'state ' + data.start;
    showSteps('Shortest way from ' + where, start, wayTo(fromStart, state));
  } else if (extra === 'to-deadlock') {
    const found = search(state);
    const deadlock = found.order.find((other) => isKind(other, 'deadlock'));
    const way = deadlock === undefined ? null : wayTo(found, deadlock);
    showSteps('Shortest way to the next deadlock', state, way);
  }
}

function showSteps(title, source, way) {
  const list = byId('way-list');
  byId('way-title').textContent = title + (way === null ? ': there is none' : ': ' + way.length +
      (way.length === 1 ? ' step' : ' steps'));
  fillList(list, way === null ? [] : [NONE].concat(way), (i) => {
    const item = element('li');
    if (i !== NONE) item.append(element('span', shown(data.labels[label[i]]), 'label'), ' to ');
    const state = i === NONE ? source : to[i];
    item.append(stateLink(state), describe(state));
    if (i === NONE || data.texts[from[i]] === null || data.texts[state] === null) {
      textAfter(item, state);
      return item;
    }
    const text = element('span', undefined, 'label');
    for (const [word, changed] of changes(data.texts[from[i]], data.texts[state])) {
      text.append(changed ? element('mark', shown(word)) : shown(word));
    }
    item.append(' ', text);
    return item;
  });
}

// ---- Search -------------------------------------------------------------------------------------

function findAll(words) {
  const found = [];
  if (/^\d+$/.test(words) && placeOf.has(Number(words))) found.push(['state', placeOf.get(Number(words))]);
  for (let state = 0; state < count; ++state) {
    const isFound = data.texts[state] !== null && data.texts[state].includes(words);
    if (isFound && !(found.length && found[0][1] === state && found[0][0] === 'state')) found.push(['state', state]);
  }
  const labels = data.labels.map((text) => text.includes(words));
  for (let i = 0; i < transitionCount; ++i) {
    if (labels[label[i]]) found.push(['transition', i]);
  }
  return found;
}

function showResults(words) {
  const found = words === '' ? [] : findAll(words);
  byId('results').hidden = false;
  byId('search').value = words;
  byId('results-title').textContent = 'Found for "' + shown(words) + '": ' + found.length;
  fillList(byId('results-list'), found, ([kind, place]) => {
    if (kind === 'state') return stateItem(place);
    const item = element('li');
    item.append(stateLink(from[place]), ' ', element('span', shown(data.labels[label[place]]), 'label'), ' to ');
    item.append(stateLink(to[place]));
    return item;
  });
}

byId('search-form').addEventListener('submit', (event) => {
  event.preventDefault();
  location.hash = 'search=' + encodeURIComponent(byId('search').value);
});

// ---- Overview -----------------------------------------------------------------------------------

function levelSizes() {
  const sizes = [];
  for (const state of fromStart.order) {
    const level = fromStart.level[state];
    sizes[level] = (sizes[level] || 0) + 1;
  }
  return sizes;
}

// A row for each level, or for several of them when there are very many.
function showLevels() {
  const sizes = levelSizes();
  const step = Math.ceil(sizes.length / MOST_ROWS);
  const rows = [];
  for (let level = 0; level < sizes.length; level += step) {
    const part = sizes.slice(level, level + step);
    const name = part.length === 1 ? String(level) : level + ' to ' + (level + part.length - 1);
    rows.push([name, part.reduce((sum, size) => sum + size, 0)]);
  }
  const most = Math.max(...rows.map((row) => row[1]));
  const body = document.querySelector('#levels tbody');
  for (const [name, size] of rows) {
    const row = element('tr');
    const head = element('th', name);
    head.scope = 'row';
    const bar = element('meter');
    bar.max = most;
    bar.value = size;
    bar.setAttribute('aria-label', 'Level ' + name + ': ' + size + ' states');
    const cell = element('td');
    cell.append(bar);
    row.append(head, element('td', String(size)), cell);
    body.append(row);
  }
}

function showSpecial() {
  const names = [['deadlock', 'Deadlocks'], ['error', 'Errors'], ['pruned', 'Pruned states'],
    ['unexpanded', 'States that the search did not come to']];
  for (const [kind, name] of names) {
    const states = data.kinds.map((pair) => pair[0]).filter((state) => isKind(state, kind));
    if (states.length === 0 && kind !== 'deadlock' && kind !== 'pruned') continue;
    states.sort((a, b) => (fromStart.level[a] >>> 0) - (fromStart.level[b] >>> 0) || a - b);
    const title = element('h3', name + ': ' + states.length);
    title.id = 'special-' + kind;
    const list = element('ul');
    list.setAttribute('aria-labelledby', title.id);
    byId('special').append(title, list);
    fillList(list, states, stateItem);
  }
}

function showOnce() {
  byId('name').textContent = shown(data.name);
  byId('counts').textContent = count + ' states, ' + transitionCount + ' transitions' +
      (data.isAll ? '' : ', around state ' + data.centre + ' of ' + data.allStates + ' states and ' +
      data.allTransitions + ' transitions');
  byId('to-initial').href = '#state-' + data.start;
  if (!data.isAll) {
    byId('to-initial').textContent = 'State ' + data.start;
    byId('way-from-initial').textContent = 'Shortest way from state ' + data.start;
  }
  if (!document.querySelector('.picture svg')) {
    byId('drawing').hidden = true;
    byId('to-drawing').hidden = true;
  } else {
    document.querySelector('.picture svg').setAttribute('role', 'group');
    document.querySelector('.picture svg').setAttribute('aria-label', 'States as links');
  }
  showLevels();
  showSpecial();
}

// ---- Addresses ----------------------------------------------------------------------------------

// What is shown follows from the address alone, so that back, forward and links work.
function focusOn(id) {
  byId(id).focus();
  byId(id).scrollIntoView({block: 'nearest'});
}

function decoded(text) {
  try {
    return decodeURIComponent(text);
  } catch (error) {
    return text;
  }
}

function show(isFirst) {
  const address = location.hash.slice(1);
  const state = /^state-(\d+)(?:\/(from-initial|to-deadlock))?$/.exec(address);
  byId('results').hidden = true;
  if (address.startsWith('search=')) {
    if (current === NONE) showState(start);
    showResults(decoded(address.slice(7)));
    focusOn('results-title');
  } else if (state && placeOf.has(Number(state[1]))) {
    showState(placeOf.get(Number(state[1])), state[2]);
    if (!isFirst || state[2]) focusOn(state[2] ? 'way-title' : 'state-title');
  } else {
    if (current === NONE || address === '') showState(start);
    if (address === 'overview' || address === 'drawing') focusOn(address + '-title');
    if (state) byId('status').textContent = 'There is no state ' + state[1] + ' here.';
    if (state) byId('status').classList.remove('hidden');
  }
  if (!state || placeOf.has(Number(state[1]))) {
    byId('status').textContent = '';
    byId('status').classList.add('hidden');
  }
}

showOnce();
show(true);
addEventListener('hashchange', () => show(false));
