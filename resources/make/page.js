"use strict";
// In a page's own links each character of a name is one %XX, upper case up to U+00FF, else UTF-8 in lower case.
// Browsers take %XX for a byte of UTF-8 and leave %2F alone, so that neither Jos%E9.html nor Images%2Fa.jpg is found.
addEventListener("DOMContentLoaded", () => {
  const hasScheme = /^[a-z][a-z0-9+.-]*:/i;
  const next = "%[89ab][0-9a-f]";
  const escapes = new RegExp(
    `%[cd][0-9a-f]${next}|%e[0-9a-f](?:${next}){2}|%f[0-7](?:${next}){3}|%2F|%[89A-F][0-9A-F]`, "g");
  const mended = escape => {
    if (escape === "%2F") return "/";
    if (escape.length > 3) return escape;
    return encodeURIComponent(String.fromCharCode(parseInt(escape.slice(1), 16))).toLowerCase();
  };
  for (const attribute of ["href", "src"]) {
    for (const element of document.querySelectorAll(`[${attribute}]`)) {
      const target = element.getAttribute(attribute);
      const better = target.replace(escapes, mended);
      if (better !== target && !hasScheme.test(target)) element.setAttribute(attribute, better);
    }
  }
  for (const link of document.querySelectorAll("#contents li.active > a")) {
    link.setAttribute("aria-current", "page");
    link.scrollIntoView({ block: "nearest" });
  }
});
// A policy does not stop a <meta> in a message from leading the page elsewhere; it does so when all is loaded.
addEventListener("load", () => stop());
