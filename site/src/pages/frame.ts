// What all pages do: the choice of dark and light, which the page's head has taken from the last one, and
// the copy that works without a network, with word of a new version.
import { page } from "../assets";

function setUpTheme() {
  const button = document.getElementById("theme");
  const dark = () =>
    (document.documentElement.dataset.theme ??
      (matchMedia("(prefers-color-scheme: dark)").matches ? "dark" : "light")) === "dark";
  button?.addEventListener("click", () => {
    const theme = dark() ? "light" : "dark";
    document.documentElement.dataset.theme = theme;
    try {
      localStorage.setItem("marl.theme", theme);
    } catch {
      // Storage is forbidden: the choice holds for this page.
    }
  });
}

function announceVersion() {
  const news = document.getElementById("news");
  if (!news) return;
  const reload = document.createElement("button");
  reload.type = "button";
  reload.textContent = "reload";
  reload.addEventListener("click", () => location.reload());
  news.replaceChildren("New version, ", reload);
  news.hidden = false;
}

function setUpOffline() {
  if (!("serviceWorker" in navigator) || !isSecureContext) return;
  const { serviceWorker } = navigator;
  // A page that one version's worker has had, and another one's takes over, is an older version's.
  let isKept = Boolean(serviceWorker.controller);
  serviceWorker.addEventListener("controllerchange", () => {
    if (isKept) announceVersion();
    isKept = true;
  });
  addEventListener("load", () => {
    // The first visit's own work comes first.
    setTimeout(() => void serviceWorker.register(page("offline.js")).catch(() => {}), 1500);
  });
}

export function setUpFrame() {
  setUpTheme();
  setUpOffline();
}
