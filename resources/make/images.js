// Thumbnails are loaded when they come into view, and what cannot be shown gets the name of its file in their place. All
// this waits until the page is loaded, since whatever still loads is stopped then.
addEventListener("DOMContentLoaded", () => {
  for (const thumbnail of document.querySelectorAll(".images img")) thumbnail.loading = "lazy";
});
addEventListener("load", () => setTimeout(() => {
  const speakers = [...document.querySelectorAll("#contents a")].map(link => link.textContent);
  const nameOf = link => {
    const name = link.href.slice(link.href.lastIndexOf("/") + 1);
    try {
      return decodeURIComponent(name);
    } catch {
      return name;
    }
  };
  const addCaption = link => {
    const caption = document.createElement("span");
    caption.textContent = link.title;
    const [, stem, extension] = /^(.*)-\d{4}-\d\d-\d\d \d\d:\d\d:\d\d [-+]\d{4}\.([^.]*)$/s.exec(link.title) ?? [];
    if (stem) {
      const speaker = speakers.find(name => stem.endsWith(`-${name}`));
      caption.textContent = stem.slice(0, speaker && -speaker.length - 1) + (extension && `.${extension}`);
    }
    link.append(caption);
  };
  for (const thumbnail of document.querySelectorAll(".images a > img")) {
    const link = thumbnail.parentElement;
    link.title = nameOf(link);
    if (thumbnail.getAttribute("src") === "Images/pdf.png") {
      thumbnail.alt = "";
      addCaption(link);
      continue;
    }
    thumbnail.alt = link.title;
    thumbnail.addEventListener("error", () => {
      thumbnail.remove();
      link.classList.add("file");
      addCaption(link);
    });
    if (!thumbnail.naturalWidth) thumbnail.src = thumbnail.src;
  }
}));
