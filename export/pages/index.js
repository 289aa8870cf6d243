"use strict";
const field = document.getElementById("filter");
const told = document.getElementById("told");
const sections = [...document.querySelectorAll("section")].map(section => ({ section, rows: [...section.querySelectorAll("li")] }));
const folded = text => text.normalize("NFD").replace(/\p{M}/gu, "").toLowerCase();
const texts = new Map();
for (const { rows } of sections)
    for (const row of rows) texts.set(row, folded(row.textContent));
const all = told.textContent;

function filter() {
    const words = folded(field.value).split(/\s+/).filter(word => word);
    let found = 0;
    for (const { section, rows } of sections) {
        let inSection = 0;
        for (const row of rows) {
            const text = texts.get(row);
            row.hidden = !words.every(word => text.includes(word));
            inSection += row.hidden ? 0 : 1;
        }
        section.hidden = inSection === 0;
        found += inSection;
    }
    told.textContent = words.length > 0 ? `${found} found` : all;
}

let timer = 0;
field.hidden = false;
field.addEventListener("input", () => { clearTimeout(timer); timer = setTimeout(filter, 100); });
for (const button of document.querySelectorAll("#people button"))
    button.addEventListener("click", () => { field.value = button.dataset.name; filter(); });
if (field.value) filter();
