'use strict';
// The only ways in which the page makes elements: attributes and texts are set, and nothing is parsed as markup.

const SVG_NAMES = 'http://www.w3.org/2000/svg';

function filled(made, attributes, children) {
  for (const [key, value] of Object.entries(attributes)) {
    if (value !== null && value !== undefined) made.setAttribute(key, value);
  }
  made.append(...children);
  return made;
}

// element('td', {class: 'number'}, 'text', another)
function element(name, attributes = {}, ...children) {
  return filled(document.createElement(name), attributes, children);
}

const LENGTHS = ['width', 'height', 'r', 'rx'];
const SHAPES = [...LENGTHS, 'd', 'x', 'y', 'cx', 'cy', 'viewBox', 'transform'];

// svg('text', {x: 1, y: 2}, 'text'); throws where a number is none that a browser can draw.
function svg(name, attributes = {}, ...children) {
  for (const key of SHAPES) {
    const isLess = LENGTHS.includes(key) && attributes[key] < 0;
    if (isLess || /NaN|Infinity|undefined|e\+|(?<![.\d])\d{12}/.test(attributes[key] ?? '')) throw new Error('a number is too large or too small');
  }
  return filled(document.createElementNS(SVG_NAMES, name), attributes, children);
}

function button(label, title, act, attributes = {}) {
  const made = element('button', {type: 'button', title, ...attributes}, label);
  made.addEventListener('click', act);
  return made;
}

function table(heads, rows) {
  return element('table', {}, element('tr', {}, ...heads), ...rows.map((cells) => element('tr', {}, ...cells)));
}

function section(title, id, ...children) {
  return element('section', {id, 'aria-labelledby': `${id}-title`}, element('h2', {id: `${id}-title`}, title),
                 ...children);
}

// The width in which a picture is drawn, so that its texts keep their size on a narrow page.
function pictureWidth(most) {
  return Math.max(Math.min(most, document.documentElement.clientWidth - 62), 260);
}

// A part of the page, or in its place that it cannot be drawn; `what` names it in the message.
function guarded(what, make) {
  try {
    return make();
  } catch (error) {
    return element('p', {class: 'notice undrawn', role: 'alert'}, `${what} cannot be drawn: ${error.message}`);
  }
}

// The browser refuses to parse a text as markup where it can be told to; the plots' library sets texts that way, which
// are escaped here.
globalThis.trustedTypes?.createPolicy('default', {
  createHTML: (text) => text.replace(/[&<>"]/g, (c) => ({'&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;'})[c]),
});
