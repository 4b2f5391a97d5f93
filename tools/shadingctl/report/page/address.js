'use strict';
// Where the page stands, in its address: #camera=2&frame=10300&from=1.2&to=1.9, times in s. An address is foreign.

const ADDRESS_DELAY_MS = 150;
const ADDRESS = {camera: /^-?\d{1,10}$/, frame: /^\d{1,10}$/, from: /^-?\d{1,9}(\.\d{1,9})?$/, to: /^-?\d{1,9}(\.\d{1,9})?$/};

// The numbers that the address holds; what is no number of its kind is left out.
function readAddress(hash = window.location.hash) {
  const place = {};
  for (const [key, value] of new URLSearchParams(hash.slice(1))) {
    if (Object.hasOwn(ADDRESS, key) && ADDRESS[key].test(value)) place[key] = Number(value);
  }
  return place;
}

// Tells the place once it has been left alone for a moment, as browsers refuse an address that changes too often.
let waitingAddress = null;

function writeAddress(place) {
  clearTimeout(waitingAddress);
  waitingAddress = setTimeout(() => {
    const parts = Object.entries(place).filter(([, value]) => value !== null).map(([key, value]) => `${key}=${value}`);
    const hash = `#${parts.join('&')}`;
    if (hash !== window.location.hash) window.history.replaceState(null, '', hash);
  }, ADDRESS_DELAY_MS);
}
