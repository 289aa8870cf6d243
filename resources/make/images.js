// The sections stand in a <template>, so that no browser asks for pictures by addresses that are not mended yet. They come
// out of it before the window's listener mends them, to be loaded when they come into view.
document.addEventListener("DOMContentLoaded", () => {
  let template;
  while ((template = document.querySelector("template"))) { // a name may have opened another one
    for (const thumbnail of template.content.querySelectorAll("img")) thumbnail.loading = "lazy";
    template.replaceWith(template.content);
  }
});
// Then each gets the name of its file, and what cannot be shown has the name in its place. By that time all that was still
// being loaded has been stopped.
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
    } else {
      thumbnail.alt = link.title;
      thumbnail.addEventListener("error", () => {
        thumbnail.remove();
        link.classList.add("file");
        addCaption(link);
      });
    }
    if (!thumbnail.naturalWidth) thumbnail.src = thumbnail.src;
  }
}));
