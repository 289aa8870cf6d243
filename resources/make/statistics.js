"use strict";
// The program draws shares on a scale of all words, on which a few curses in a hundred words cannot be seen. The bars of a card
// get a scale of their own, the same for all of them.
document.addEventListener("DOMContentLoaded", () => {
  for (const card of document.querySelectorAll("section:has(.scale)")) {
    const bars = [...card.querySelectorAll("rect")];
    const shares = bars.map(({ dataset }) => Math.min(Math.max(dataset.part / dataset.whole || 0, 0), 1));
    const full = [0.01, 0.02, 0.05, 0.1, 0.2, 0.5, 1].find(end => Math.max(...shares) <= end);
    bars.forEach((bar, index) => bar.setAttribute("width", 300 * shares[index] / full));
    card.querySelectorAll(".percent").forEach((text, index) => {
      text.textContent = ` ${(100 * shares[index]).toFixed(1)}%`;
    });
    card.querySelector(".scale").textContent = full < 1 ? `A full bar is ${100 * full} in 100 words.` : "A full bar is all words.";
  }
});
